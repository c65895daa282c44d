#include "frame_writer.h"

#include <stdexcept>
#include <utility>

#include "console.h"
#include "files.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBIW_WINDOWS_UTF8
#include <stb_image_write.h>

FrameWriter::FrameWriter(const std::string& directory, const std::string& y4mFile, int fps,
                         Screen screen)
    : m_directory(directory), m_y4mName(y4mFile), m_fps(fps), m_screen(std::move(screen)) {
  if (!m_directory.empty()) {
    CreateDirectories(m_directory);
  }
  if (!m_y4mName.empty()) {
    m_y4m.reset(OpenFile(m_y4mName, "wb"));
    if (m_y4m == nullptr) {
      throw std::runtime_error("can't write " + m_y4mName);
    }
  }
  // A screen compresses well anyhow, and frames come fast.
  stbi_write_png_compression_level = 1;
  stbi_write_force_png_filter = 0;
  m_thread = std::thread([this] { run(); });
}

FrameWriter::~FrameWriter() { Finish(); }

void FrameWriter::Put(std::uint64_t number, const IScreenCapture::ScreenFrameData& frame) {
  if (frame.width <= 0 || frame.height <= 0) {
    return;
  }
  Job job;
  job.number = number;
  {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_waiting.size() < kMaxWaiting; });
    if (!m_spare.empty()) {
      job.picture = std::move(m_spare.back());
      m_spare.pop_back();
    }
  }
  CopyFrame(frame, job.picture);
  if (m_screen && !m_screen(job.beside)) {
    fail("the screen can't be saved here");
  }
  const std::scoped_lock lock(m_mutex);
  m_waiting.push_back(std::move(job));
  m_changed.notify_all();
}

std::string FrameWriter::Finish() {
  {
    const std::scoped_lock lock(m_mutex);
    m_ending = true;
    m_changed.notify_all();
  }
  if (m_thread.joinable()) {
    m_thread.join();
    if (m_y4m != nullptr && std::fflush(m_y4m.get()) != 0) {
      fail("can't write " + m_y4mName);
    }
  }
  const std::scoped_lock lock(m_mutex);
  return m_failure;
}

void FrameWriter::run() {
  for (;;) {
    Job job;
    {
      std::unique_lock lock(m_mutex);
      m_changed.wait(lock, [this] { return m_ending || !m_waiting.empty(); });
      if (m_waiting.empty()) {
        return;
      }
      job = std::move(m_waiting.front());
      m_waiting.pop_front();
      m_changed.notify_all();
    }
    write(job);
    const std::scoped_lock lock(m_mutex);
    m_spare.push_back(std::move(job.picture));
  }
}

void FrameWriter::write(Job& job) {
  if (!m_directory.empty()) {
    writePng(job);
  }
  if (m_y4m != nullptr) {
    writeVideo(job.picture);
  }
}

void FrameWriter::writePng(Job& job) {
  char name[32];
  std::snprintf(name, sizeof name, "frame-%06llu.png", static_cast<unsigned long long>(job.number));
  const std::string path = m_directory + "/" + name;
  if (job.beside.width > 0) {
    PutBeside(job.beside, job.picture);
  }
  const std::vector<std::uint8_t> rgb = ToRgb(job.picture);
  if (stbi_write_png(path.c_str(), job.picture.width, job.picture.height, 3, rgb.data(),
                     job.picture.width * 3) == 0) {
    fail("can't write " + path);
  }
}

// All frames of a Y4M file have one size. A share that changes its size in the
// middle goes on in the video with the frames that fit.
void FrameWriter::writeVideo(const Picture& picture) {
  std::FILE* file = m_y4m.get();
  if (m_videoWidth == 0) {
    m_videoWidth = picture.width;
    m_videoHeight = picture.height;
    std::fprintf(file, "YUV4MPEG2 W%d H%d F%d:1 Ip A1:1 C420jpeg XYSCSS=420JPEG\n", m_videoWidth,
                 m_videoHeight, m_fps);
  }
  if (picture.width != m_videoWidth || picture.height != m_videoHeight) {
    fail("the picture changed its size: frames are missing in " + m_y4mName);
    return;
  }
  std::fputs("FRAME\n", file);
  if (std::fwrite(picture.bytes.data(), 1, picture.bytes.size(), file) != picture.bytes.size()) {
    fail("can't write " + m_y4mName);
  }
}

void FrameWriter::fail(const std::string& what) {
  const std::scoped_lock lock(m_mutex);
  if (m_failure.empty()) {
    m_failure = what;
  }
}
