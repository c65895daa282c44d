#!/usr/bin/env python3
"""shows_screen.py FRAME.png SCREEN: whether a frame that an example wrote, without row
filters, shows the screen, pixel for pixel."""
import struct
import sys
import zlib

png = open(sys.argv[1], "rb").read()
width, height = struct.unpack(">II", png[16:24])
data, at = b"", 8
while at < len(png):
    length, kind = struct.unpack(">I4s", png[at:at + 8])
    body = png[at + 8:at + 8 + length]
    if zlib.crc32(kind + body) != struct.unpack(">I", png[at + 8 + length:at + 12 + length])[0]:
        sys.exit(f"{kind} is damaged")
    data += body if kind == b"IDAT" else b""
    at += 12 + length
lines = zlib.decompress(data)

size, screen = open(sys.argv[2], "rb").read().split(b"\n", 1)
if tuple(map(int, size.split())) != (width, height):
    sys.exit(f"the frame is {width}x{height}, the screen {size.decode()}")
for y in range(height):
    row = lines[y * (width * 4 + 1) + 1:(y + 1) * (width * 4 + 1)]
    want = screen[y * width * 4:(y + 1) * width * 4]
    # The magnifier's pictures are a shade redder.
    redder = max(r - w for r, w in zip(row[0::4], want[2::4]))
    less = min(r - w for r, w in zip(row[0::4], want[2::4]))
    if redder > 1 or less < 0 or row[1::4] != want[1::4] or row[2::4] != want[0::4]:
        sys.exit(f"row {y} is another one")
if len(set(screen[0::4])) < 5:
    sys.exit("there is hardly anything to see")
