#!/usr/bin/env python3
"""share.py LIBRARY FOLDER: lists what can be shared, shares the primary monitor for two
seconds and writes its frames into FOLDER as PNG files."""
import ctypes as c
import pathlib
import struct
import sys
import time
import zlib


def record(**fields):
    return type("Record", (c.Structure,), {"_fields_": list(fields.items())})


def ints(names):
    return {name: c.c_int32 for name in names.split()}


def pointers(names):
    return {name: c.POINTER(c.c_uint8) for name in names.split()}


Desktop = record(**ints("id handle is_primary x y width height"))
Window = record(**ints("id handle process_id"), process_name=c.c_char_p, title=c.c_char_p,
                **ints("x y width height"))
Frame = record(format=c.c_int32, timestamp=c.c_int64,
               **ints("reserved width height raw_width raw_height stride"), **pointers("data"),
               **ints("stride_y stride_u stride_v"), **pointers("data_y data_u data_v"))
Event = record(**ints("size type"), frame=c.c_uint64,
               **ints("reason id engine fps x y width height"))
STOP = 4
EVENTS = ("", "start", "pause", "resume", "stop", "first frame", "window changed",
          "monitor changed", "engine", "statistics", "rectangle changed")


def png(frame):
    pixels = bytearray(c.string_at(frame.data, frame.stride * frame.height))
    pixels[0::4], pixels[2::4] = pixels[2::4], pixels[0::4]  # B, G, R to R, G, B
    pixels[3::4] = b"\xff" * (len(pixels) // 4)
    lines = b"".join(b"\0" + pixels[row:row + frame.width * 4]
                     for row in range(0, len(pixels), frame.stride))
    header = struct.pack(">IIBBBBB", frame.width, frame.height, 8, 6, 0, 0, 0)
    chunks = ((b"IHDR", header), (b"IDAT", zlib.compress(lines, 1)), (b"IEND", b""))
    return b"\x89PNG\r\n\x1a\n" + b"".join(
        struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
        for kind, data in chunks)


library, folder = sys.argv[1:]
qx = c.CDLL(library)
qx.qx_create.restype = qx.qx_queue_create.restype = c.c_void_p
capture, queue, taken = c.c_void_p(qx.qx_create()), c.c_void_p(qx.qx_queue_create()), c.c_void_p()
monitors = []


def list_of(kind):
    return c.CFUNCTYPE(None, c.POINTER(kind), c.c_int32, c.c_void_p)


qx.qx_get_desktop_list(capture, list_of(Desktop)(lambda desktops, count, _: monitors.extend(
    (d.is_primary, d.id, d.width, d.height) for d in desktops[:count])), None)
qx.qx_get_window_list(capture, list_of(Window)(lambda windows, count, _: [
    print(f"window {w.id}: {w.title.decode()} ({w.process_name.decode()})")
    for w in windows[:count]] and None), None)
for _, number, width, height in monitors:
    print(f"monitor {number}: {width}x{height}")
qx.qx_enable_capture_cursor(capture, False)
primary, error = max(monitors, default=(1, 0))[1], c.c_int32()
if qx.qx_share_desktop_to_queue(capture, primary, queue, c.byref(error)) != 0:
    sys.exit(f"the share did not start: {error.value}")
frames, frame, event = 0, Frame(), Event(size=c.sizeof(Event))
end = time.monotonic() + 2
while time.monotonic() < end and event.type != STOP:
    qx.qx_queue_wait(queue, 100)
    while qx.qx_queue_next_event(queue, c.byref(event)) == 0:
        # A newer library may tell of more.
        if event.type < len(EVENTS):
            print(f"{EVENTS[event.type]} after frame {event.frame}")
    if qx.qx_queue_take_frame(queue, c.byref(taken)) == 0:
        qx.qx_frame_get_data(taken, c.byref(frame))
        frames += 1
        pathlib.Path(folder, f"frame-{frames:04}.png").write_bytes(png(frame))
        qx.qx_frame_release(taken)
qx.qx_destroy(capture)
qx.qx_queue_destroy(queue)
print(f"{frames} frames")
