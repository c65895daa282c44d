#include "win/engine/gdi/WindowPrinter.h"

#include <utility>

#include "common/Logging.h"
#include "win/util/SystemProbes.h"

namespace qx {
namespace {

// Asks for what a window shows through the compositor. Not in older headers.
constexpr UINT kPrintFullContent = 2;

bool PrintOn(HDC dc, HWND window) {
  if (WindowsUtil::IsWindows10OrGreater()) {
    if (PrintWindow(window, dc, kPrintFullContent)) {
      return true;
    }
    QX_LOG_LIMITED(LogLevelWarn, "PrintWindow in Windows 10 failed,last Error:{}",
                   static_cast<std::uint32_t>(GetLastError()));
  }
  if (PrintWindow(window, dc, 0)) {
    return true;
  }
  QX_LOG_LIMITED(LogLevelWarn, "PrintWindow failed,last Error:{}",
                 static_cast<std::uint32_t>(GetLastError()));
  return false;
}

}  // namespace

struct WindowPrinter::Job {
  explicit Job(HWND target) : window(target) {}

  const HWND window;
  MemoryCanvas canvas;
  bool printed = false;

  void Run() {
    printed = PrintOn(canvas.dc.Get(), window);
    GdiFlush();  // what a thread has drawn waits for that thread
  }
};

WindowPrinter::WindowPrinter(HWND window, HDC like)
    : m_job(std::make_shared<Job>(window)), m_errand([job = m_job] { job->Run(); }) {
  m_job->canvas.dc = MakeMemoryDc(like);
}

HDC WindowPrinter::Dc() const { return m_job->canvas.dc.Get(); }

bool WindowPrinter::Prepare(HDC like, std::int32_t width, std::int32_t height) {
  MemoryCanvas& canvas = m_job->canvas;
  m_late = m_late && m_job->printed && canvas.picture.HasSize(width, height);
  if (m_late) {
    return true;
  }
  if (canvas.picture.pixels.use_count() > 1) {
    canvas.Reset();
  }
  return canvas.Prepare(like, width, height);
}

bool WindowPrinter::Print() {
  // A window that always takes too long is shown by what comes late.
  if (std::exchange(m_late, false)) {
    return true;
  }
  m_job->printed = false;
  if (m_errand.Run()) {
    return m_job->printed;
  }
  m_late = m_errand.IsUnderWay();
  return false;
}

const MemoryPicture& WindowPrinter::Take() {
  GdiFlush();  // the system may still be drawing
  std::swap(m_job->canvas, m_shown);
  return m_shown.picture;
}

}  // namespace qx
