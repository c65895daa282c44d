// share.js LIBRARY FOLDER: lists what can be shared, shares the primary monitor for two
// seconds and writes its frames into FOLDER as PNG files. What it tells goes to
// FOLDER/told.txt as well: where a program's output can't be a pipe, that is all there is.
//
// JavaScript can't be called on the share's thread. So a queue takes the listener's place,
// and is asked.
'use strict';
const fs = require('fs');
const path = require('path');
const zlib = require('zlib');
const koffi = require('koffi');

const [library, folder] = process.argv.slice(2);
const told = path.join(folder, 'told.txt');
fs.writeFileSync(told, '');
function tell(line) {
  fs.appendFileSync(told, line + '\n');
  try { console.log(line); } catch { /* no usable output */ }
}

const int = (names) => Object.fromEntries(names.split(' ').map((name) => [name, 'int32_t']));
koffi.struct('qx_desktop_info', int('id handle is_primary x y width height'));
koffi.struct('qx_window_info', {
  ...int('id handle'), process_id: 'uint32_t', process_name: 'const char *', title: 'const char *',
  ...int('x y width height'),
});
koffi.struct('qx_screen_frame_data', {
  format: 'int32_t', timestamp: 'int64_t', reserved: 'uint32_t',
  ...int('width height raw_width raw_height stride'), data: 'void *',
  ...int('stride_y stride_u stride_v'), data_y: 'void *', data_u: 'void *', data_v: 'void *',
});
const Event = koffi.struct('qx_event', {
  size: 'uint32_t', type: 'int32_t', frame: 'uint64_t',
  ...int('reason id engine fps x y width height'),
});
koffi.proto('void DesktopList(const qx_desktop_info *desktops, int32_t count, void *user)');
koffi.proto('void WindowList(const qx_window_info *windows, int32_t count, void *user)');

const lib = koffi.load(path.resolve(library));
const qx = (definition) => lib.func(definition);
const create = qx('void *qx_create()');
const destroy = qx('int32_t qx_destroy(void *capture)');
const getDesktopList = qx('int32_t qx_get_desktop_list(void *capture, DesktopList *callback, void *user)');
const getWindowList = qx('int32_t qx_get_window_list(void *capture, WindowList *callback, void *user)');
const enableCursor = qx('int32_t qx_enable_capture_cursor(void *capture, bool enable)');
const enablePrompt = qx('int32_t qx_enable_prompt_window(void *capture, bool enable)');
const createQueue = qx('void *qx_queue_create()');
const destroyQueue = qx('int32_t qx_queue_destroy(void *queue)');
const shareDesktop = qx('int32_t qx_share_desktop_to_queue(void *capture, int32_t id, void *queue, _Out_ int32_t *error)');
const wait = qx('int32_t qx_queue_wait(void *queue, uint32_t timeout_ms)');
const nextEvent = qx('int32_t qx_queue_next_event(void *queue, _Inout_ qx_event *event)');
const takeFrame = qx('int32_t qx_queue_take_frame(void *queue, _Out_ void **frame)');
const frameData = qx('int32_t qx_frame_get_data(void *frame, _Out_ qx_screen_frame_data *data)');
const releaseFrame = qx('int32_t qx_frame_release(void *frame)');

const kStop = 4;
const kEvents = ['', 'start', 'pause', 'resume', 'stop', 'first frame', 'window changed',
  'monitor changed', 'engine', 'statistics', 'rectangle changed'];

const kCrcs = Int32Array.from({ length: 256 }, (_, n) => {
  for (let bit = 0; bit < 8; ++bit) n = n & 1 ? 0xEDB88320 ^ (n >>> 1) : n >>> 1;
  return n;
});
function chunk(kind, data) {
  const out = Buffer.alloc(12 + data.length);
  out.writeUInt32BE(data.length, 0);
  out.write(kind, 4, 'latin1');
  data.copy(out, 8);
  let crc = -1;
  for (const byte of out.subarray(4, 8 + data.length)) crc = kCrcs[(crc ^ byte) & 255] ^ (crc >>> 8);
  out.writeInt32BE(~crc, 8 + data.length);
  return out;
}

function png({ width, height, stride, data }) {
  const pixels = Buffer.from(koffi.view(data, stride * height));
  const lines = Buffer.alloc((width * 4 + 1) * height);
  for (let y = 0, to = 0; y < height; ++y) {
    ++to;  // no filter
    for (let from = y * stride; from < y * stride + width * 4; from += 4, to += 4) {
      lines[to] = pixels[from + 2];  // B, G, R to R, G, B
      lines[to + 1] = pixels[from + 1];
      lines[to + 2] = pixels[from];
      lines[to + 3] = 255;
    }
  }
  const header = Buffer.from([0, 0, 0, 0, 0, 0, 0, 0, 8, 6, 0, 0, 0]);
  header.writeUInt32BE(width, 0);
  header.writeUInt32BE(height, 4);
  return Buffer.concat([Buffer.from('\x89PNG\r\n\x1a\n', 'latin1'), chunk('IHDR', header),
    chunk('IDAT', zlib.deflateSync(lines, { level: 1 })), chunk('IEND', Buffer.alloc(0))]);
}

const capture = create();
const queue = createQueue();
let monitor = 0;
getDesktopList(capture, (desktops, count) => {
  if (count === 0) return;
  for (const desktop of koffi.decode(desktops, 'qx_desktop_info', count)) {
    tell(`monitor ${desktop.id}: ${desktop.width}x${desktop.height}`);
    if (monitor === 0 || desktop.is_primary) monitor = desktop.id;
  }
}, null);
getWindowList(capture, (windows, count) => {
  if (count === 0) return;
  for (const window of koffi.decode(windows, 'qx_window_info', count)) {
    tell(`window ${window.id}: ${window.title} (${window.process_name})`);
  }
}, null);
enableCursor(capture, false);
enablePrompt(capture, false);
const error = [0];
if (shareDesktop(capture, monitor, queue, error) !== 0) {
  tell(`the share did not start: ${error[0]}`);
  process.exit(1);
}
let frames = 0;
let ended = false;
for (const end = Date.now() + 2000; Date.now() < end && !ended;) {
  wait(queue, 100);
  for (let event = { size: koffi.sizeof(Event) }; nextEvent(queue, event) === 0;) {
    // A newer library may tell of more.
    if (event.type < kEvents.length) tell(`${kEvents[event.type]} after frame ${event.frame}`);
    ended ||= event.type === kStop;
    event = { size: koffi.sizeof(Event) };
  }
  const frame = [null];
  if (takeFrame(queue, frame) === 0) {
    const data = {};
    frameData(frame[0], data);
    ++frames;
    fs.writeFileSync(path.join(folder, `frame-${String(frames).padStart(4, '0')}.png`), png(data));
    releaseFrame(frame[0]);
  }
}
destroy(capture);
destroyQueue(queue);
tell(`${frames} frames`);
