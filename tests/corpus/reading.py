"""What a message says, read with Python's own email package and none of the project's code."""
import dataclasses
import datetime
import email.header
import email.parser
import email.utils
import re


@dataclasses.dataclass(frozen=True)
class Message:
    """One message as delivery sees it.

    name      what the command calls it
    size      in bytes
    received  the day of its arrival
    headers   the text of the first header of each name, by the name in lower case
    sources   the same as they were sent: unfolded bytes
    """

    name: str
    size: int
    received: datetime.date
    headers: dict
    sources: dict


def without_envelope(content):
    """The message in an mbox file that holds one: no "From " line, no empty line at the end."""
    message = content.partition(b"\n")[2]
    return re.sub(rb"(?<=\n)\r?\n\Z", b"", message)


def is_mbox(content):
    return content.startswith(b"From ")


def unfolded_headers(content):
    """The first header of each name in lower case, as bytes on one line."""
    parsed = email.parser.BytesHeaderParser().parsebytes(content)
    headers = {}
    for name, value in parsed.raw_items():
        source = value.encode("ascii", "surrogateescape")
        headers.setdefault(name.lower(), re.sub(rb"\r?\n", b"", source).strip(b" \t"))
    return headers


def raw_text(source):
    """Bytes that name no charset: UTF-8, or what they most likely are."""
    try:
        return source.decode("utf-8")
    except UnicodeDecodeError:
        return source.decode("cp1252", "replace")


def decoded(source):
    """The header as it is shown to a reader, encoded words (RFC 2047) resolved."""
    if b"=?" not in source:
        return raw_text(source)
    # Latin-1 carries the raw bytes through decode_header() unharmed
    parts = email.header.decode_header(source.decode("latin-1"))
    if isinstance(parts[0][0], str):
        return raw_text(source)
    return "".join(part.decode(charset, "replace") if charset else raw_text(part)
                   for part, charset in parts)


def read_message(name, content, received):
    """Reads a file of one message; an mbox numbers its messages."""
    if is_mbox(content):
        name, content = name + "#1", without_envelope(content)
    sources = unfolded_headers(content)
    headers = {field: decoded(source) for field, source in sources.items()}
    return Message(name, len(content), received, headers, sources)


def addresses(message, field):
    """The addresses in a header, in the order in which they stand there."""
    # the names around them are of no interest, so that they need not be decoded
    source = message.sources.get(field, b"").decode("latin-1")
    found = [address for _, address in email.utils.getaddresses([source])]
    # what is no address, such as "@example.org" from "<nobody:;@example.org>", is returned as well
    return [address for address in found if re.fullmatch(r"[^@]+@[^@]+", address)]
