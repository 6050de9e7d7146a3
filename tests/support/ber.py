"""BER, independent of the program's own codec: a notation for bytes, a writer and a reader."""

import re


def wire(text):
    """Bytes from hexadecimal digits. 'text' is a string item; 30( ... ) an item of indefinite length."""
    text = re.sub(r"'([^']*)'", lambda quoted: string(quoted[1]).hex(), text)
    return bytes.fromhex(text.replace("(", "80").replace(")", "0000"))


def primitive(tag, content):
    size = len(content)
    count = (size.bit_length() + 7) // 8
    head = bytes([size]) if size < 128 else bytes([0x80 + count]) + size.to_bytes(count, "big")
    return bytes([tag]) + head + content


def constructed(tag, *children):
    return bytes([tag, 0x80]) + b"".join(children) + b"\0\0"


def string(text):
    return primitive(0x04, text.encode())


def integer(value):
    return primitive(0x02, value.to_bytes((value + (value < 0)).bit_length() // 8 + 1, "big", signed=True))


def integers(*values):
    return b"".join(map(integer, values))


def real(text):
    return primitive(0x09, b"\0" + text.encode())


def item(data, at):
    """The item at this place, as its tag and its content or inner items, and the place behind it. Fails if there is none."""
    tag, size, at = data[at], data[at + 1], at + 2
    endless, long, inside = size == 0x80, max(size - 0x80, 0), []
    end = at + long + (int.from_bytes(data[at:at + long], "big") if long else size)
    at += long
    if not tag & 0x20:
        assert not endless and end <= len(data), f"content at {at}"
        return (tag, data[at:end]), end
    while endless or at != end:
        if data[at] == 0:
            assert data[at + 1] == 0, f"end-of-contents at {at}"
            return (tag, inside), at + 2
        child, at = (None, at + 1) if data[at] == 0x19 else item(data, at)
        inside += [child] if child else []  # 19 is padding
    return (tag, inside), at
