"""Small changes to C++ sources, such as a mistake could make.

A change alters one statement of clang-format's layout, on one line, or on two where the statement
of an `if` has a line of its own. Text in strings and comments stays as it is, and so do the
constants of system calls: what they do when they are wrong is the kernel's affair.
"""

import dataclasses
import re

# Calls whose numbers are flags, modes and descriptors.
SYSTEM_CALLS = re.compile(
    r"\b(accept4|access|bind|chmod|chown|clone|close|close_range|connect|dup2?|fallocate|fchmod|"
    r"fchown\w*|fcntl|fork|fstatat|ftruncate|futimens|getsockopt|kill|linkat|listen|lseek|madvise|"
    r"memfd_create|mkdir(at)?|mkstemp|mmap|mprotect|munmap|open(at)?|pipe2?|poll|ppoll|prctl|pread|"
    r"pwrite|recv\w*|renameat2?|send\w*|setrlimit|setsockopt|shutdown|sigaction|signal|"
    r"socket(pair)?|syscall|unlink(at)?|waitpid|LANDLOCK_\w+|SCMP_\w+|_exit)\b")

COMPARISONS = {" < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ",
               " != ": " == "}

# A call whose result nobody looks at: no blank in front of the parenthesis, as a declaration has.
DROPPABLE = re.compile(r"\s+(\(void\))?(?!(?:return|throw|delete|else|if|for|while|switch)\b)"
                       r"[\w:>.\[\]*-]+\(.*\);")
# The condition of an `if`, and what leaves the function behind it.
CONDITION = re.compile(r"(\s*(?:\} else )?if )\((.*)\)( \{)?"
                       r"( (?:return|throw|continue|break)\b.*;)?")
LEAVING = re.compile(r"\s+(return|throw)\b.*;")
DECLARED = re.compile(r"(const )?[\w:]+(<[\w:, ]+>)?[&*]? [\w]+ = (.*)")
RETURNS = {"true": "false", "false": "true", '""': '"x"', "nullptr": None}


@dataclasses.dataclass(frozen=True)
class Change:
    kind: str
    line: int  # from 0
    old: str  # the lines that are replaced
    new: str

    def apply(self, text):
        lines = text.split("\n")
        count = self.old.count("\n") + 1
        assert "\n".join(lines[self.line:self.line + count]) == self.old
        lines[self.line:self.line + count] = self.new.split("\n")
        return "\n".join(lines)


def masked(line):
    """The line with blanks in the place of strings, characters and its comment."""
    def blank(found):
        return found[0][0] + " " * (len(found[0]) - 2) + found[0][0] if found[0][0] != "/" else \
            " " * len(found[0])
    return re.sub(r'"(?:[^"\\]|\\.)*"|(?<!\w)\'(?:[^\'\\]|\\.)+\'|//.*', blank, line)


def negated_condition(line, code):
    found = CONDITION.fullmatch(code.rstrip())
    if not found or not is_balanced(found[2]) or ";" in found[2]:
        return
    start, end = found.span(2)
    condition = line[start:end]
    declared = DECLARED.fullmatch(found[2])
    if declared:
        name = re.search(r"(\w+) = ", found[2])[1]
        new = f"{condition}; !{name}"
    else:
        new = f"!({condition})"
    yield line[:start] + new + line[end:]


def skipped_check(line, code, following):
    """An `if` that leaves the function or the round: its condition is looked at, and what it says
    ignored. Gives the lines that are replaced, and the new one."""
    found = CONDITION.fullmatch(code.rstrip())
    if not found or found[3] or not is_balanced(found[2]) or ";" in found[2] or \
            found[1].strip().startswith("}"):
        return
    if not found[4] and not LEAVING.fullmatch(masked(following).rstrip()):
        return
    start, end = found.span(2)
    declared = DECLARED.fullmatch(found[2])
    condition = line[start:end]
    if declared:
        condition = condition[len(condition) - len(declared[3]):]
    indent = re.match(r"\s*", line)[0]
    yield line if found[4] else f"{line}\n{following}", f"{indent}(void)({condition});"


def changed_comparisons(line, code):
    if "template" in code or "operator" in code:
        return
    for old, new in COMPARISONS.items():
        for found in re.finditer(re.escape(old), code):
            yield line[:found.start()] + new + line[found.end():]


def changed_constants(line, code):
    if SYSTEM_CALLS.search(code) or code.lstrip().startswith("#"):
        return
    for found in re.finditer(r"(?<![\w.'])(0|[1-9]\d*)(U?)(?![\w.'])", code):
        yield line[:found.start()] + str(int(found[1]) + 1) + line[found.end(1):]


def dropped_statement(line, code, before):
    begins = not before.strip() or before.rstrip().endswith((";", "{", "}", ":", ")", "else"))
    if begins and DROPPABLE.fullmatch(code.rstrip()) and is_balanced(code):
        yield re.match(r"\s*", line)[0] + "{}"


def changed_return(line, code):
    found = re.fullmatch(r"(.*\breturn )(.*);", code.rstrip())
    if not found or not is_balanced(found[2]):
        return
    start, end = found.span(2)
    value = line[start:end]
    if RETURNS.get(value):
        yield line[:start] + RETURNS[value] + line[end:]
    elif re.search(r" (&&|\|\|) ", found[2]) or found[2].startswith("!"):
        yield f"{line[:start]}!({value}){line[end:]}"


def is_balanced(code):
    depth = 0
    for character in code:
        depth += (character == "(") - (character == ")")
        if depth < 0:
            return False
    return depth == 0


def changes_of(text):
    """All changes to a source."""
    lines = text.split("\n")
    codes = [masked(line) for line in lines]
    for number, (line, code) in enumerate(zip(lines, codes)):
        before = codes[number - 1] if number else ""
        following = lines[number + 1] if number + 1 < len(lines) else ""
        found = [("negated condition", negated_condition(line, code)),
                 ("comparison", changed_comparisons(line, code)),
                 ("constant", changed_constants(line, code)),
                 ("dropped statement", dropped_statement(line, code, before)),
                 ("return value", changed_return(line, code))]
        for kind, results in found:
            for new in results:
                yield Change(kind, number, line, new)
        for old, new in skipped_check(line, code, following):
            yield Change("skipped check", number, old, new)
