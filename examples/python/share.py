#!/usr/bin/env python3
"""share.py LIBRARY FOLDER: lists what can be shared, shares the primary monitor for two
seconds and writes its frames into FOLDER as PNG files."""
import ctypes as c
import pathlib
import struct
import sys
import time
import zlib

INT, PIXELS = c.c_int32, c.POINTER(c.c_uint8)


def record(*fields):
    return type("Record", (c.Structure,), {"_fields_": fields})


Desktop = record(*((n, INT) for n in "id handle is_primary x y width height".split()))
Window = record(("id", INT), ("handle", INT), ("process_id", c.c_uint32),
                ("process_name", c.c_char_p), ("title", c.c_char_p),
                *((n, INT) for n in "x y width height".split()))
Frame = record(("format", INT), ("timestamp", c.c_int64), ("reserved", c.c_uint32),
               *((n, INT) for n in "width height raw_width raw_height stride".split()),
               ("data", PIXELS), *((n, INT) for n in "stride_y stride_u stride_v".split()),
               *((n, PIXELS) for n in "data_y data_u data_v".split()))
Event = record(("size", c.c_uint32), ("type", INT), ("frame", c.c_uint64),
               *((n, INT) for n in "reason id engine fps x y width height".split()))
EVENTS = ("", "start", "pause", "resume", "stop", "first frame", "window changed",
          "monitor changed", "engine", "statistics", "rectangle changed")


def png(frame):
    rows = c.string_at(frame.data, frame.stride * frame.height)
    lines = bytearray()
    for y in range(frame.height):
        row = bytearray(rows[y * frame.stride:y * frame.stride + frame.width * 4])
        row[0::4], row[2::4] = row[2::4], row[0::4]  # B, G, R to R, G, B
        row[3::4] = b"\xff" * frame.width
        lines += b"\0" + row

    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data +
                struct.pack(">I", zlib.crc32(kind + data)))

    header = struct.pack(">IIBBBBB", frame.width, frame.height, 8, 6, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
            chunk(b"IDAT", zlib.compress(bytes(lines), 1)) + chunk(b"IEND", b""))


def main(library, folder):
    qx = c.CDLL(library)
    for name in "qx_create qx_queue_create".split():
        getattr(qx, name).restype = c.c_void_p
    capture, queue = c.c_void_p(qx.qx_create()), c.c_void_p(qx.qx_queue_create())
    monitors = []

    @c.CFUNCTYPE(None, c.POINTER(Desktop), INT, c.c_void_p)
    def on_desktops(desktops, count, _):
        monitors.extend((d.is_primary, d.id, d.width, d.height) for d in desktops[:count])

    @c.CFUNCTYPE(None, c.POINTER(Window), INT, c.c_void_p)
    def on_windows(windows, count, _):
        for w in windows[:count]:
            print(f"window {w.id}: {w.title.decode()} ({w.process_name.decode()})")

    qx.qx_get_desktop_list(capture, on_desktops, None)
    qx.qx_get_window_list(capture, on_windows, None)
    for _, number, width, height in monitors:
        print(f"monitor {number}: {width}x{height}")
    if qx.qx_share_desktop_to_queue(capture, max(monitors)[1], queue, None) != 0:
        sys.exit("the share did not start")
    frames, event, end = 0, Event(size=c.sizeof(Event)), time.monotonic() + 2
    while time.monotonic() < end:
        qx.qx_queue_wait(queue, 100)
        while qx.qx_queue_next_event(queue, c.byref(event)) == 0:
            print(f"{EVENTS[event.type]} after frame {event.frame}")
        taken, frame = c.c_void_p(), Frame()
        if qx.qx_queue_take_frame(queue, c.byref(taken)) == 0:
            qx.qx_frame_get_data(taken, c.byref(frame))
            frames += 1
            pathlib.Path(folder, f"frame-{frames:04}.png").write_bytes(png(frame))
            qx.qx_frame_release(taken)
    qx.qx_destroy(capture)
    qx.qx_queue_destroy(queue)
    print(f"{frames} frames")


main(*sys.argv[1:])
