"""Address headers of one megabyte, of any kind that strangers may send."""
import itertools

SIZE = 1000000
HALF = SIZE // 2


def repeated(piece, *, begin=b"", end=b""):
    return begin + piece * (SIZE // len(piece)) + end


def numbered(form, *, between=b", ", begin=b""):
    """`form` with a number for its %d, as often as there is room."""
    entries, size = [], 0
    for number in itertools.count():
        if size >= SIZE:
            return begin + between.join(entries)
        entries.append(form % number)
        size += len(entries[-1]) + len(between)


# What a To header holds, by its name.
KINDS = {
    "addresses": lambda: numbered(b"p%d@example.net"),
    "addresses with names": lambda: numbered(b"Person %d <p@example.net>"),
    "one long name": lambda: repeated(b"x", end=b" <a@b.c>"),
    "a name of many words": lambda: repeated(b"word ", end=b"<a@b.c>"),
    "one long quoted string": lambda: repeated(b"x", begin=b'"', end=b'" <a@b.c>'),
    "nested comments": lambda: b"(" * HALF + b")" * HALF + b" a@b.c",
    "many comments": lambda: repeated(b"(x) ", end=b"a@b.c"),
    "one long local part": lambda: repeated(b"x", end=b"@b.c"),
    "a local part with dots": lambda: repeated(b"x.", end=b"x@b.c"),
    "a domain with dots": lambda: repeated(b"x.", begin=b"a@", end=b"x"),
    "a long domain literal": lambda: repeated(b"x", begin=b"a@[", end=b"]"),
    "a route": lambda: repeated(b"@x,", begin=b"<", end=b"@x:a@b>"),
    "one group": lambda: repeated(b"a@b.c,", begin=b"g:", end=b"a@b.c;"),
    "groups": lambda: numbered(b"g%d:a@b.c;"),
    "nested groups": lambda: b"a:" * HALF,
    "local parts with two dots": lambda: numbered(b"a..b%d@c.d"),
    "names with dots": lambda: numbered(b"J. Q. %d <a@b.c>"),
    "names in brackets": lambda: numbered(b"[%d] <a@b.c>"),
    "missing commas": lambda: numbered(b"N <p%d@c.d>", between=b" "),
    "missing brackets": lambda: numbered(b"N <p%d@c.d"),
    "one unclosed quote": lambda: numbered(b"p%d@c.d", begin=b'"'),
    "unclosed quotes": lambda: numbered(b'"N%d <p@c.d>'),
    "unclosed comments": lambda: repeated(b"("),
    "'<' only": lambda: repeated(b"<"),
    "'<@' only": lambda: repeated(b"<@"),
    "'@' only": lambda: repeated(b"@"),
    "';' only": lambda: repeated(b";"),
    "':' only": lambda: repeated(b":"),
    "',' only": lambda: repeated(b","),
    "'\"' only": lambda: repeated(b'"'),
    "backslashes only": lambda: repeated(b"\\"),
    "names in encoded words": lambda: numbered(b"=?utf-8?q?N=C3=A4me_%d?= <a@b.c>"),
    "encoded words of many charsets": lambda: repeated(
        b"".join(b"=?%s?q?=E4?= x " % charset for charset in (
            b"koi8-r", b"shift_jis", b"iso-2022-jp", b"gb18030", b"big5", b"euc-kr", b"utf-7"))),
    "encoded words of unknown charsets": lambda: numbered(b"=?x%d?q?=FF?=", between=b" "),
    "unclosed encoded words": lambda: repeated(b"=?utf-8?q?x"),
    "8-bit words": lambda: repeated(b"\xe4 ", end=b"<a@b.c>"),
    "8-bit words in no charset": lambda: repeated(b"\x81 ", end=b"<a@b.c>"),
    "8-bit names": lambda: repeated(b"N\xe4me <a@b.c>, "),
    "many lines To": lambda: numbered(b"p%d@example.net", between=b"\nTo: "),
}
