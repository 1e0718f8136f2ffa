"""Hostile mail: a table of what strangers may send, and where twenty rules want it.

The rules are those of the comparisons with other programs, but for the last one, which files what
has a subject that begins with "Hostile": a message gets there once every rule before was tried.
Line ends are LF. What a command takes on its standard input as it stands goes folded over LMTP,
whose lines have an end, in the way mail servers fold it.
"""
import collections
import re

LONGEST_LINE = 998  # as LMTP allows it, without its end
MEGABYTE = 1000000
MANY = 100000
SLOW = 250000  # bytes of what takes the interpreter seconds, were it a megabyte

FILED = "filed by the last rule"
# Any other outcome is the note on why a message is in the inbox.
NO_RULE = "no rule matched"

Row = collections.namedtuple("Row", "name content outcome")


def row(name, *, header=b"", subject=b"Hostile mail", body=b"body\n", outcome=FILED):
    content = header + b"Subject: " + subject + b"\n\n" + body
    return Row(name, content, outcome)


def field(name, value):
    return name + b": " + value + b"\n"


def headers():
    half = MEGABYTE // 2
    yield row("a line of 1 MB", header=field(b"X-Long", b"x" * MEGABYTE))
    yield row("a name of 1 MB", header=field(b"X" * MEGABYTE, b"x"))
    yield row("a line of 1 MB without a colon", header=b"x" * MEGABYTE + b"\n")
    yield row("a subject of 1 MB", subject=b"Hostile " + b"x" * MEGABYTE)
    yield row("a subject of 1 MB of encoded words",
              subject=b"Hostile " + b"=?utf-8?q?=C3=A4?= " * (MEGABYTE // 19))
    yield row("a subject of 1 MB of encoded words in another charset",
              subject=b"Hostile " + b"=?koi8-r?q?=D0?= " * (MEGABYTE // 17))
    yield row("a subject of 1 MB of encoded words that nothing closes",
              subject=b"Hostile " + b"=?utf-8?q?x" * (MEGABYTE // 11))
    yield row("a subject of 1 MB of words in no known charset",
              subject=b"Hostile " + b"\x81 " * half)
    yield row("a subject of one encoded word of 1 MB",
              subject=b"Hostile =?utf-8?b?" + b"w6TDpMOk" * (MEGABYTE // 8) + b"?=")
    yield row("a subject of 1 MB of blank lines", subject=b"Hostile" + b"\n " * half + b"x")
    yield row("100,000 fields", header=b"".join(b"X-%d: x\n" % i for i in range(MANY)))
    yield row("100,000 fields To", header=b"To: x@example.net\n" * MANY)
    yield row("100,000 subjects", header=b"Subject: x\n" * MANY, outcome=NO_RULE)
    yield row("NUL bytes", header=b"X-\0: \0\n\0: x\nFrom: x\0y <x\0z@example.net>\n",
              subject=b"Hostile \0 mail")
    yield row("a field of 1 MB of NUL bytes", header=field(b"X-Long", b"\0" * MEGABYTE))
    yield row("100,000 parameters", header=field(b"Content-Type", b"text/plain" + b"; a=b" * MANY))


def addresses():
    half = MEGABYTE // 2
    for name in (b"From", b"To"):
        yield row(f"a local part x.x.x of 1 MB in {name.decode()}",
                  header=field(name, b"x." * half + b"x@example.net"))
    yield row("a domain x.x.x of 1 MB", header=field(b"To", b"x@" + b"x." * half + b"x"))
    yield row("a name of 500,000 words", header=field(b"From", b"x " * half + b"<x@example.net>"))
    yield row("100,000 recipients",
              header=field(b"To", b", ".join(b"x%d@example.net" % i for i in range(MANY))))
    yield row("an unclosed quote, 1 MB",
              header=field(b"From", b'"' + b"x" * MEGABYTE + b" <x@example.net>"))
    yield row("an unclosed comment, 1 MB",
              header=field(b"To", b"x@example.net (" + b"x" * MEGABYTE))
    yield row("an odd number of quotes, 1 MB", header=field(b"From", b'"' * (MEGABYTE + 1)))
    yield row("500,000 nested comments",
              header=field(b"From", b"(" * half + b"x" + b")" * half + b" <x@example.net>"))
    yield row("a million unclosed comments", header=field(b"To", b"(" * MEGABYTE))
    groups = SLOW // 2
    yield row("125,000 nested groups", header=field(b"To", b"a:" * groups + b";" * groups))
    yield row("a route of 83,333 hosts",
              header=field(b"From", b"<" + b"@x," * (SLOW // 3) + b"@x:x@example.net>"))
    yield row("a name of 1 MB of encoded words",
              header=field(b"From", b"=?utf-8?q?x?= " * (MEGABYTE // 14) + b"<x@example.net>"))
    yield row("a name of 1 MB of encoded words that nothing closes",
              header=field(b"From", b"=?utf-8?q?x" * (MEGABYTE // 11) + b" <x@example.net>"))
    yield row("a name of 1 MB of words in no known charset",
              header=field(b"From", b"\x81 " * half + b"<x@example.net>"))


def bodies():
    boundary = field(b"MIME-Version", b"1.0") + b'Content-Type: multipart/mixed; boundary="b"\n'
    yield row("100,000 parts", header=boundary, body=b"--b\n\nx\n" * MANY + b"--b--\n")
    part = b'--b\nContent-Type: multipart/mixed; boundary="b"\n\n'
    yield row("100,000 nested parts", header=boundary, body=part * MANY)
    yield row("a body of 1 MB of NUL bytes", body=b"\0" * MEGABYTE + b"\n")
    yield Row("a header only", b"Subject: Hostile mail\n", FILED)
    yield Row("no header", b"\nSubject: Hostile mail\n\nbody\n", NO_RULE)
    yield Row("a body only", b"Hostile mail\n", NO_RULE)
    yield Row("NUL bytes only", b"\0" * MEGABYTE + b"\n", NO_RULE)
    yield Row("a line feed only", b"\n", NO_RULE)


def table():
    yield from headers()
    yield from addresses()
    yield from bodies()


def folded(content):
    """`content` with a line end and a blank in its longer lines."""
    width = LONGEST_LINE - 1  # the blank counts, too
    return b"\n".join(re.sub(rb"(.{%d})(?=.)" % width, rb"\1\n ", line, flags=re.DOTALL)
                      if len(line) > LONGEST_LINE else line for line in content.split(b"\n"))
