"""BER by hand, independent of the program's own codec: a notation, a writer, and a reader for messages of tests."""

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
    """The item there, as its tag and its content or the items inside, and where it ends; fails if there is none."""
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


def dump(data):
    """One line an item, indented by depth up to 20; never fails, as it is there to show what is wrong."""
    lines, depth, at = [], 0, 0
    while at < len(data):
        tag, size = data[at], data[at + 1] if at + 1 < len(data) else 0
        long = size & 0x7F if size > 0x80 else 0
        opens = tag & 0x20 and size == 0x80
        length = int.from_bytes(data[at + 2:at + 2 + long], "big") if long else 0 if opens else size
        item = data[at:at + 2 + long + length]
        depth -= tag == 0 and depth > 0
        lines.append("  " * min(depth, 20) + item[:40].hex(" ") + (f"  {item[2:]}" if tag == 4 and len(item) < 40 else ""))
        depth += bool(opens)
        at += 2 + long + length
    return lines
