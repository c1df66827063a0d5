"""Reads .QEL archives through libmoldexread.

    with moldex_archive.Archive("a.qel") as archive:
        for entry in archive:
            print(entry.name, sum(map(len, archive.pieces())))

As a program: python3 -m moldex_archive (-l | -t | -x NAME) ARCHIVE"""
import argparse
import codecs
import ctypes
import datetime
import itertools
import os
import re
import stat
import sys

END, BAD_DATA, BAD_CALL, NO_ENTRY = 1, -1, -2, -100
FILE, DIRECTORY, SYMBOLIC_LINK, SHORTCUT = 1, 2, 3, 4


class Error(Exception):
    """A failure; `status` is the MxrStatus, or NO_ENTRY. After BAD_DATA the archive can be read on."""

    def __init__(self, status, text):
        super().__init__(text)
        self.status = status


class _Entry(ctypes.Structure):
    _fields_ = [("name", ctypes.c_char_p), ("link_target", ctypes.c_char_p),
                ("type", ctypes.c_int32), ("mode", ctypes.c_uint32),
                ("attributes", ctypes.c_uint32), ("size", ctypes.c_uint64),
                ("seconds", ctypes.c_int64), ("ticks", ctypes.c_uint32),
                ("has_time", ctypes.c_int32)]


class _Piece(ctypes.Structure):
    _fields_ = [("bytes", ctypes.c_void_p), ("length", ctypes.c_size_t),
                ("offset", ctypes.c_uint64), ("is_backup_stream", ctypes.c_int32)]


def _load():
    # On Windows the library lies beside this file.
    on_windows = os.path.join(os.path.dirname(os.path.abspath(__file__)), "moldexread.dll")
    library = ctypes.CDLL(on_windows if os.name == "nt" else "libmoldexread.so.1")
    pointer = ctypes.POINTER
    for name, arguments in [
            ("MxrOpenUtf8", [ctypes.c_char_p, pointer(ctypes.c_void_p)]),
            ("MxrNextEntry", [ctypes.c_void_p, pointer(pointer(_Entry))]),
            ("MxrNextPiece", [ctypes.c_void_p, pointer(_Piece)]),
            ("MxrNextStoredPiece", [ctypes.c_void_p, pointer(_Piece)]),
            ("MxrClose", [ctypes.c_void_p]), ("MxrErrorText", [ctypes.c_void_p])]:
        function = getattr(library, name)
        function.argtypes, function.restype = arguments, ctypes.c_int32
    library.MxrClose.restype, library.MxrErrorText.restype = None, ctypes.c_char_p
    return library


_library = _load()


def _text(data):
    # Bytes that are no UTF-8 come back as they were when the text is encoded the same way.
    return None if data is None else data.decode("utf-8", "surrogateescape")


class Entry:
    """The fields of MxrEntry; `time` is a datetime in UTC, or None."""

    def __init__(self, fields):
        self.name, self.link_target = _text(fields.name), _text(fields.link_target)
        self.type, self.mode, self.attributes = fields.type, fields.mode, fields.attributes
        self.size, self.seconds, self.ticks = fields.size, fields.seconds, fields.ticks
        self.has_time = fields.has_time != 0

    def __repr__(self):
        return f"<Entry {self.name!r}: {self.permissions()}, {self.size} bytes>"

    @property
    def time(self):
        try:
            moment = datetime.timedelta(seconds=self.seconds, microseconds=self.ticks // 10)
            start = datetime.datetime(1970, 1, 1, tzinfo=datetime.timezone.utc)
            return start + moment if self.has_time else None
        except OverflowError:  # in no year that Python knows
            return None

    def permissions(self):
        """The type and the permissions as ls shows them."""
        kind = {DIRECTORY: stat.S_IFDIR, SYMBOLIC_LINK: stat.S_IFLNK}.get(self.type, stat.S_IFREG)
        return stat.filemode(kind | (self.mode & 0o777))


class Archive:
    """An open archive: iterate over its entries, and over the data of the one that came last. Several may
    be open at once, in any threads; one is used by one thread at a time."""

    def __init__(self, path):
        self._handle = ctypes.c_void_p()
        path = os.fsencode(path)  # on Windows in UTF-8
        if b"\0" in path:
            raise ValueError("a zero byte in the path")
        self._check(_library.MxrOpenUtf8(path, ctypes.byref(self._handle)))

    def _check(self, status):
        if status == BAD_CALL:
            raise Error(status, "no entry to read" if self._handle else "the archive is closed")
        if status < 0:
            raise Error(status, _text(_library.MxrErrorText(self._handle)))
        return status != END

    def close(self):
        _library.MxrClose(self._handle)
        self._handle = ctypes.c_void_p()

    def __enter__(self):
        return self

    def __exit__(self, *failure):
        self.close()

    def __del__(self):
        self.close()

    def __iter__(self):
        entry = ctypes.POINTER(_Entry)()
        while self._check(_library.MxrNextEntry(self._handle, ctypes.byref(entry))):
            yield Entry(entry.contents)

    def placed_pieces(self, stored=False):
        """The file's bytes piece by piece, each with its place in the file and whether it comes out of
        a backup stream. Zeros fill the gaps of a sparse file. With `stored`, the backup stream itself.
        Raises Error if the data or their checksum are wrong, after the last piece at the latest."""
        following = _library.MxrNextStoredPiece if stored else _library.MxrNextPiece
        piece = _Piece()
        while self._check(following(self._handle, ctypes.byref(piece))):
            yield piece.offset, ctypes.string_at(piece.bytes, piece.length), piece.is_backup_stream != 0

    def pieces(self):
        """The bytes of the file, in pieces of at most 64 KiB."""
        end = 0
        for offset, data, _ in self.placed_pieces():
            while end < offset:
                gap = bytes(min(offset - end, 65536))
                end += len(gap)
                yield gap
            end = offset + len(data)
            yield data


def last_entry(path, is_wanted):
    """Opens the archive and goes to the last entry that `is_wanted`, the one that extraction of all leaves.
    Returns the archive, the entry, and the failure that ends the archive after it, or None."""
    found = damage = None
    with Archive(path) as archive:
        try:
            for place, entry in enumerate(archive):
                found = place if is_wanted(entry) else found
        except Error as failure:
            damage = failure
    if found is None:
        raise damage or Error(NO_ENTRY, f"no such entry in {path}")
    archive = Archive(path)
    return archive, next(itertools.islice(archive, found, None)), damage


def _shown(text, stream):
    """For a terminal, without characters that it would obey."""
    if not stream.isatty():
        return text
    return re.sub("[\0-\x1f\x7f-\x9f\u202a-\u202e\u2066-\u2069]", lambda found: "".join(
        f"\\{byte:03o}" for byte in found.group().encode()), text)


def _unencodable(failure):
    # Bytes that are no UTF-8 as they are, other characters as escapes.
    try:
        return codecs.lookup_error("surrogateescape")(failure)
    except UnicodeEncodeError:
        return codecs.lookup_error("backslashreplace")(failure)


def _list(path):
    with Archive(path) as archive:
        for entry in archive:
            time = entry.time.strftime("%Y-%m-%d %H:%M:%S") if entry.time else "-"
            target = f" -> {entry.link_target}" if entry.link_target else ""
            print(f"{entry.permissions()} {entry.size:12} {time:19} {_shown(entry.name + target, sys.stdout)}")
    return 0


def _test(path):
    faults = count = 0
    with Archive(path) as archive:
        for count, _ in enumerate(archive, 1):
            try:
                for _ in archive.placed_pieces(stored=True):
                    pass
            except Error as failure:
                if failure.status != BAD_DATA:
                    raise
                faults += 1
                print(_shown(str(failure), sys.stderr), file=sys.stderr)
    print(f"{count} entries, {faults} damaged")
    return 1 if faults else 0


def _extract(path, name):
    archive, entry, damage = last_entry(path, lambda entry: entry.name == name)
    with archive:
        if entry.type in (DIRECTORY, SYMBOLIC_LINK):
            kind = "directory" if entry.type == DIRECTORY else "symbolic link"
            raise Error(NO_ENTRY, f"{name} is a {kind}, not a file")
        for data in archive.pieces():
            sys.stdout.buffer.write(data)
    if damage:
        raise damage
    return 0


def main():
    parser = argparse.ArgumentParser(prog="moldex_archive", description="Reads .QEL archives.")
    action = parser.add_mutually_exclusive_group(required=True)
    action.add_argument("-l", action="store_const", dest="work", const=_list, help="list the entries")
    action.add_argument("-t", action="store_const", dest="work", const=_test, help="check the data of all entries")
    action.add_argument("-x", metavar="NAME", help="write the bytes of one entry to standard output")
    parser.add_argument("archive")
    arguments = parser.parse_args()
    codecs.register_error("moldex_archive", _unencodable)
    sys.stdout.reconfigure(errors="moldex_archive")
    sys.stderr.reconfigure(errors="moldex_archive")
    try:
        if arguments.work is None:
            status = _extract(arguments.archive, arguments.x)
        else:
            status = arguments.work(arguments.archive)
        sys.stdout.flush()
        return status
    except Error as failure:
        print(f"moldex_archive: {_shown(str(failure), sys.stderr)}", file=sys.stderr)
        return 1
    except OSError as failure:  # of standard output, which must not fail again at the end
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        if not isinstance(failure, BrokenPipeError):
            print(f"moldex_archive: standard output: {failure.strerror}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())
