"""What a page of the documentation has its readers type, or write into a file."""


def code_blocks(page):
    """The page's indented blocks, each as its lines without the indentation."""
    block = []
    for line in [*page.read_text().splitlines(), "end"]:
        if line.startswith("    ") or (block and not line):
            block.append(line[4:])
        elif block:
            yield "\n".join(block).strip("\n").split("\n")
            block = []


def file(page, name):
    """The block that has the file's name as a comment on its first line."""
    found = [block for block in code_blocks(page) if block[0] == f"# {name}"]
    assert len(found) == 1, f"{page} shows {name} {len(found)} times"
    return "\n".join(found[0]) + "\n"


def lines(page, word):
    """The lines with `word` in them of the page's other blocks."""
    found = [line for block in code_blocks(page) if block[0][0] != "#" for line in block
             if word in line]
    assert found, f"{page} has no line with {word}"
    return found


def lines_below(page, heading, word):
    """The lines with `word` in them of the blocks between a heading and the next one."""
    section = page.read_text().split(f"\n{heading}\n")[1].split("\n## ")[0]
    found = [line[4:] for line in section.splitlines() if line.startswith("    ") and word in line]
    assert found, f"{page} has no line with {word} below {heading}"
    return found


def replaced(text, replacements):
    for old, new in replacements.items():
        assert old in text, f"the page does not have {old}"
        text = text.replace(old, str(new))
    return text
