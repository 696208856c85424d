#!/usr/bin/env python3
"""Sets in an installer package what its compiler takes from the clock and from chance.

    summary.py FILE PACKAGE-CODE TIME

PACKAGE-CODE is a GUID in braces, TIME the seconds since 1970 for both of the package's times. They
are overwritten where they are, in the stream of the file that describes it as a whole.
"""
import struct
import sys

FORMAT_ID = bytes.fromhex("e0859ff2f94f6810ab9108002b27b3d9")
REVISION, CREATED, SAVED = 9, 12, 13
TEXT, FILETIME = 30, 64
SECONDS_TO_1970 = 11644473600


def main():
    path, code, seconds = sys.argv[1:]
    with open(path, "rb") as file:
        data = bytearray(file.read())
    head = data.index(FORMAT_ID)
    # Offsets count from the stream's beginning, which is 28 bytes before the identifier, and within
    # the section from its own.
    section = head - 28 + struct.unpack_from("<I", data, head + 16)[0]
    count = struct.unpack_from("<I", data, section + 4)[0]
    properties = dict(struct.unpack_from("<II", data, section + 8 + 8 * index)
                      for index in range(count))

    time = struct.pack("<IQ", FILETIME, (int(seconds) + SECONDS_TO_1970) * 10_000_000)
    values = {REVISION: struct.pack("<II", TEXT, len(code) + 1) + code.encode() + b"\0",
              CREATED: time, SAVED: time}
    for name, value in values.items():
        at = section + properties[name]
        old = bytes(data[at:at + len(value)])
        # The kind and, of a text, its length and end have to be the same.
        if old[:4] != value[:4] or (name == REVISION and (old[4:8] != value[4:8] or old[-1] != 0)):
            sys.exit(f"{path}: its description is not laid out as expected")
        data[at:at + len(value)] = value
    with open(path, "wb") as file:
        file.write(data)


main()
