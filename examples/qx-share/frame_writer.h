#pragma once

#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "picture.h"

// Writes frames to disk on a thread of its own, as PNG files, as a Y4M video or
// both. Put may be called from any one thread; it only copies, unless the disk
// is so far behind that kMaxWaiting frames wait, and then it blocks until one is
// written, so that no frame is lost.
class FrameWriter {
 public:
  // An empty path leaves that output out. Creates the directory and the file;
  // throws std::runtime_error when that fails. `screen`, if there is one, gives a picture
  // to put beside each frame.
  using Screen = std::function<bool(Picture&)>;
  FrameWriter(const std::string& directory, const std::string& y4mFile, int fps, Screen screen);
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;
  // Writes what still waits.
  ~FrameWriter();

  // `number` counts frames from 1 and names the PNG file. A frame without
  // pixels is left out.
  void Put(std::uint64_t number, const IScreenCapture::ScreenFrameData& frame);

  // Writes what still waits. Returns the first failure in words, "" for none.
  std::string Finish();

 private:
  static constexpr std::size_t kMaxWaiting = 24;

  struct Job {
    std::uint64_t number = 0;
    Picture picture;
    Picture beside;
  };
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  void run();
  void write(Job& job);
  void writePng(Job& job);
  void writeVideo(const Picture& picture);
  void fail(const std::string& what);

  const std::string m_directory;
  const std::string m_y4mName;
  const int m_fps;
  const Screen m_screen;
  std::unique_ptr<std::FILE, CloseFile> m_y4m;
  int m_videoWidth = 0;  // of the whole video, from its first frame
  int m_videoHeight = 0;

  std::mutex m_mutex;  // guards what follows
  std::condition_variable m_changed;
  std::deque<Job> m_waiting;
  std::vector<Picture> m_spare;  // storage to use again
  std::string m_failure;
  bool m_ending = false;

  std::thread m_thread;
};
