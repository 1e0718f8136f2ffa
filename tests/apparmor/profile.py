"""An AppArmor profile's rules about files, read as apparmor.d(5) has them, without a kernel."""
import pathlib
import re

SETTINGS = pathlib.Path("/etc/apparmor.d")
RULE = re.compile(r"^(?:owner\s+)?\"?((?:/|@\{)[^\s\"]*)\"?\s+([a-zA-Z]+),")
VARIABLE = re.compile(r"^(@\{\w+\})\s*\+?=\s*(.*)$")
INCLUDE = re.compile(r"^#?include (if exists )?<([^>]+)>")


def lines_of(path):
    """The lines of a file and of those that it includes."""
    for line in path.read_text().splitlines():
        line = line.strip()
        if included := INCLUDE.match(line):
            found = SETTINGS / included[2]
            files = sorted(found.iterdir()) if found.is_dir() else [found] * found.exists()
            for file in files:
                yield from lines_of(file)
        elif not line.startswith("#"):
            yield line


def expanded(text, variables):
    """`text` with each value of its variables."""
    if not (found := re.search(r"@\{\w+\}", text)):
        return [text]
    return [each for value in variables.get(found[0], [])
            for each in expanded(text.replace(found[0], value, 1), variables)]


def pattern(glob):
    """The regular expression for a path of a rule."""
    parts = {"**": ".*", "*": "[^/]*", "?": "[^/]", "{": "(?:", "}": ")", ",": "|"}
    found = re.findall(r"\*\*|[*?{},]|\[[^]]*\]|.", glob)
    return "".join(parts.get(each) or (each if each.startswith("[") and len(each) > 1
                                       else re.escape(each)) for each in found)


class Profile:
    def __init__(self, path):
        variables, rules = {}, []
        for line in lines_of(path):
            if variable := VARIABLE.match(line):
                variables.setdefault(variable[1], []).extend(
                    value.strip('"') for value in variable[2].split())
            elif rule := RULE.match(line):
                rules.append((rule[1], rule[2]))
        self._rules = [(re.compile(pattern(re.sub("//+", "/", each))), modes)
                       for glob, modes in rules for each in expanded(glob, variables)]

    def allows(self, path, mode):
        """Whether a rule has the mode, a letter, for the path."""
        return any(mode in modes and rule.fullmatch(path) for rule, modes in self._rules)
