"""Extracts an archive: read_archive.py ARCHIVE FOLDER

Written from docs/archive-format.md and docs/compressed-stream.md alone, to show that they are
enough; it shares nothing with the program but these pages. RFC 1951 is left to zlib, and LZC out."""
import os
import struct
import sys
import zlib


def restore(payloads):
    """The bytes of an entry, and the length of its first stream."""
    content, stream, first_length = bytearray(), None, None
    for payload in payloads:
        if stream is None:
            if content and payload == b"\0":
                continue
            length, kind, magic = struct.unpack_from("<IB2s", payload)
            assert magic == b"\x1f\x9d" and kind & 0x0F == 2, "stream header"
            stream, payload = zlib.decompressobj(-14), payload[8:]
            first_length = length if first_length is None else first_length
        content += stream.decompress(payload)
        stream = None if stream.eof else stream
    assert stream is None, "a stream without an end"
    return bytes(content), first_length


def backup_data(content):
    """The file's bytes of a backup stream; of anything else, itself."""
    data, at = b"", 0
    while at < len(content):
        kind, _, size, name = struct.unpack_from("<IIQI", content[at:] + bytes(20))
        at += 20 + name + size
        if not 1 <= kind <= 10 or at > len(content):
            return content
        data = content[at - size:at] if kind == 1 else data
    return data


def entries(archive):
    """Type, mode, seconds, name, user data and content of each."""
    assert archive[:3] == b"VUK" and archive[3] in b" \0" and archive[4:8] == b"2.00", "header"
    at = 8
    while at < len(archive):
        kind, mode, low, _, high, seconds, _, _, user_bytes, name_bytes = struct.unpack_from(
            "<2s7I2H", archive, at)
        name = archive[at + 34:at + 34 + name_bytes].split(b"\0")[0].decode()
        at += 34 + name_bytes + user_bytes
        user_data, size, content, payloads = archive[at - user_bytes:at], high << 32 | low, b"", []
        while archive[at:at + 2] in (b"DA", b"ED"):
            letters, length = struct.unpack_from("<2sI", archive, at)
            payloads.append(archive[at + 6:at + 6 + length])
            at += 6 + length
            if letters == b"ED":
                content, first_length = restore(payloads)
                checksum = zlib.crc32(content, 0xFFFFFFFF) ^ 0xFFFFFFFF
                assert archive[at:at + 4] == struct.pack("<I", checksum), name
                at += 4
                if archive[3] == 0 and (size <= 65536 or first_length <= 65536):
                    content, size = (backup := backup_data(content)), len(backup)
        assert kind == b"DR" or len(content) == size, name
        yield kind, mode, seconds, name, user_data, content


def main(archive, folder):
    links = []
    for kind, mode, seconds, name, user_data, content in entries(archive):
        assert not name.startswith("/") and ".." not in name.split("/"), name
        path = os.path.join(folder, name)
        if kind == b"DR":
            os.mkdir(path)
        elif kind == b"LK" and user_data:
            links.append((user_data, path))
            continue
        else:
            with open(path, "wb") as file:
                file.write(content)
        os.chmod(path, mode & 0o777)
        if archive[3]:
            os.utime(path, (seconds, seconds))
    for target, path in links:
        os.symlink(target, path)


with open(sys.argv[1], "rb") as opened:
    main(opened.read(), sys.argv[2])
