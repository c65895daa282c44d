#include "win/list/Thumbnails.h"

#include <optional>

#include "common/Logging.h"
#include "win/engine/EngineFactories.h"
#include "win/engine/MagProbe.h"
#include "win/engine/gdi/MemoryPicture.h"
#include "win/list/ThumbnailPicture.h"
#include "win/list/ThumbnailWindow.h"
#include "win/util/Handles.h"
#include "win/util/RunClosed.h"
#include "win/util/SystemProbes.h"
#include "win/util/WindowHelpers.h"

namespace qx {
namespace {

constexpr int kAttempts = 3;
constexpr char kFailed[] = "a thumbnail failed";

using Png = std::vector<std::uint8_t>;
using Engine = EngineFactories::Engine;

SIZE SizeOf(const RECT& rect) { return {rect.right - rect.left, rect.bottom - rect.top}; }

RECT HostRect(ThumbnailOrigin origin, SIZE box) {
  return {origin.x - box.cx, origin.y - box.cy, origin.x, origin.y};
}

// In what size to take the picture of a host window that shows so much of a window. From
// Windows 8 on it is taken as it is.
SIZE CaptureSize(SIZE normal, SIZE box) {
  if (WindowsUtil::IsWindows8OrGreater() || normal.cx == 0 || normal.cy == 0) {
    QX_LOG_INFO("normalWidth|normalHeight|isWindows8OrGreater = 0");
    return box;
  }
  return FitWindow(normal, box);
}

// The pointer's place has nothing to do with the picture's.
Engine WithoutCursor(Engine engine) {
  engine->ShowCursor(false);
  return engine;
}

// False when no attempt gave a picture. A window that owes an answer is not asked again.
bool Capture(ScreenCaptureEngine& engine, LONG left, LONG top, SIZE size,
             ScreenCaptureFrame& frame) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    auto result = CaptureResult::Failed;
    if (engine.Capture(left, top, size.cx, size.cy, frame, result)) {
      return frame.Buffer() != nullptr;
    }
    if (engine.IsWaiting()) {
      return false;
    }
  }
  return false;
}

ThumbnailSource PictureOf(const ScreenCaptureFrame& frame, INT format) {
  return {frame.Buffer().get(),
          {static_cast<LONG>(frame.Width()), static_cast<LONG>(frame.Height())},
          format};
}

// What the pictures of one call have in common.
class Maker {
 public:
  Maker(ThumbnailOrigin origin, SIZE box) : m_box(box), m_place(HostRect(origin, box)) {}
  Maker(const Maker&) = delete;
  Maker& operator=(const Maker&) = delete;
  virtual ~Maker() = default;

  // Before the first picture. False: there will be none.
  virtual bool Prepare() = 0;
  virtual bool Make(HWND window, Png& png) = 0;

 protected:
  bool prepare(bool withHost) {
    if (withHost && !m_host.Start(m_place)) {
      return false;
    }
    m_writer = ThumbnailWriter::Find();
    return m_writer.has_value();
  }

  bool write(const ThumbnailSource& source, const RECT& place, Png& png) const {
    return m_writer->Write(source, m_box, place, source.format, png);
  }

  const SIZE m_box;
  const RECT m_place;  // the host's
  ThumbnailWindow m_host;

 private:
  std::optional<ThumbnailWriter> m_writer;
};

class GdiMaker : public Maker {
 public:
  using Maker::Maker;

  bool Prepare() override { return prepare(m_usesHost); }

  bool Make(HWND window, Png& png) override {
    SIZE normal = {};
    RECT place = m_place;
    if (m_usesHost && !m_host.SetTarget(window, place, normal)) {
      return false;
    }
    SIZE size = CaptureSize(normal, m_box);
    if (!m_usesHost) {
      RECT own = {};
      if (!GetWindowRect(window, &own)) {
        return false;
      }
      place = {};
      size = SizeOf(own);
    }
    const HWND printed = m_usesHost ? m_host.GetWindowHandle() : window;
    const Engine engine = WithoutCursor(EngineFactories::Default().gdi(printed, false, {}));
    ScreenCaptureFrame frame;
    const bool captured =
        engine->Initialize() && Capture(*engine, place.left, place.top, size, frame);
    engine->UnInitialize();
    return captured &&
           write(PictureOf(frame, PixelFormat32bppRGB), {0, 0, m_box.cx, m_box.cy}, png);
  }

 private:
  const bool m_usesHost = WindowsUtil::IsWindows8Point1OrGreater();
};

class MagMaker : public Maker {
 public:
  // `fits`: pictures keep their window's proportions.
  MagMaker(ThumbnailOrigin origin, SIZE box, bool fits) : Maker(origin, box), m_fits(fits) {}

  bool Prepare() override {
    if (!prepare(true)) {
      return false;
    }
    m_engine = WithoutCursor(EngineFactories::Default().mag(nullptr, {}, false, false, false));
    return true;
  }

  bool Make(HWND window, Png& png) override {
    SIZE normal = {};
    RECT place = {};
    if (!m_host.SetTarget(window, place, normal)) {
      return false;
    }
    const bool made = m_engine->Initialize() && makeFrom(place, normal, png);
    m_engine->UnInitialize();
    return made;
  }

 private:
  bool makeFrom(const RECT& place, SIZE normal, Png& png) {
    // The host shows the window stretched; below Windows 8 the engine scales that back.
    const SIZE size = m_fits ? CaptureSize(normal, m_box) : m_box;
    m_engine->SetTargetSize(size.cx, size.cy);
    ScreenCaptureFrame frame;
    if (!Capture(*m_engine, place.left, place.top, SizeOf(place), frame)) {
      return false;
    }
    ThumbnailSource source = PictureOf(frame, PixelFormat32bppARGB);
    if (m_fits && WindowsUtil::IsWindows8OrGreater()) {
      const SIZE fitting = FitWindow(normal, m_box);
      if (frame.ScaleTo(fitting.cx, fitting.cy)) {
        source.pixels = frame.ScaledBuffer().get();
        source.size = {frame.ScaledWidth(), frame.ScaledHeight()};
      }
    }
    return write(source, Centre(source.size, m_box), png);
  }

  const bool m_fits;
  Engine m_engine;
};

bool MakeOne(Maker& maker, HWND window, Png& png) {
  return maker.Prepare() && maker.Make(window, png);
}

void MakeAll(Maker& maker, const std::vector<HWND>& windows,
             const WindowsUtil::ThumbnailSink& sink) {
  bool ready = false;
  RunClosed(kFailed, [&] { ready = maker.Prepare(); });
  for (const HWND window : windows) {
    RunClosed(kFailed, [&] {
      Png png;
      bool made = false;
      RunClosed(kFailed, [&] { made = ready && maker.Make(window, png); });
      sink(window, made ? &png : nullptr);
    });
  }
}

// Whether Direct3D gives pictures of what it draws; when it had no memory to tell, it is
// trusted to.
bool IsGraphicsFit() {
  return WindowsUtil::IsRunOnIntegrateGPU(nullptr) ||
         WindowsUtil::IntegrateGPUProbeResult() == E_OUTOFMEMORY;
}

}  // namespace

ThumbnailOrigin ComputeThumbnailOrigin(const std::vector<IScreenCapture::DesktopInfo>& desktops) {
  ThumbnailOrigin origin;
  for (const IScreenCapture::DesktopInfo& desktop : desktops) {
    if (desktop.x < origin.x) {
      origin = {desktop.x, desktop.y};
    } else if (desktop.x == origin.x && desktop.y < origin.y) {
      origin.y = desktop.y;
    }
  }
  return origin;
}

bool GetDesktopThumbnailPng(const RECT& rect, SIZE box, Png& png) {
  // Where no monitor is any more the copy would be of nothing.
  if (!WindowsUtil::IsRectOnAnyMonitor(rect)) {
    return false;
  }
  const SIZE size = SizeOf(rect);
  const WindowDc screen(GetDC(nullptr), {nullptr});
  MemoryCanvas canvas;  // GDI+ reads the pixels where they are
  if (!screen || !canvas.Prepare(screen.Get(), size.cx, size.cy) ||
      !BitBlt(canvas.dc.Get(), 0, 0, size.cx, size.cy, screen.Get(), rect.left, rect.top,
              SRCCOPY)) {
    return false;
  }
  GdiFlush();  // the system may still be drawing
  const std::optional<ThumbnailWriter> writer = ThumbnailWriter::Find();
  // The screen's alpha means nothing, the margins' does.
  return writer && writer->Write({canvas.picture.pixels.get(), size, PixelFormat32bppRGB}, box,
                                 FitPicture(size, box), PixelFormat32bppARGB, png);
}

namespace WindowsUtil {

bool GetWindowThumbnail(HWND window, ThumbnailOrigin origin, SIZE box, Png& png) {
  const bool byGdi = IsWindows8Point1OrGreater() || !IsDwmCompositionEnabled() ||
                     !IsGraphicsFit() || IsMagCaptureBlack();
  return byGdi ? GetWindowThumbnailByGDI(window, origin, box, png)
               : GetWindowThumbnailByMag(window, origin, box, png);
}

bool GetWindowThumbnailByGDI(HWND window, ThumbnailOrigin origin, SIZE box, Png& png) {
  GdiMaker maker(origin, box);
  return MakeOne(maker, window, png);
}

bool GetWindowThumbnailByMag(HWND window, ThumbnailOrigin origin, SIZE box, Png& png) {
  MagMaker maker(origin, box, false);
  return MakeOne(maker, window, png);
}

void GetWindowThumbnailList(const std::vector<HWND>& windows, ThumbnailOrigin origin, SIZE box,
                            const ThumbnailSink& sink) {
  bool byGdi = true;
  RunClosed(kFailed, [&] {
    byGdi = !IsDwmCompositionEnabled() || !IsGraphicsFit() || IsMagCaptureBlack() ||
            IsWindows8Point1OrGreater();
  });
  if (byGdi) {
    GetWindowThumbnailListByGDI(windows, origin, box, sink);
  } else {
    GetWindowThumbnailListByMag(windows, origin, box, sink);
  }
}

void GetWindowThumbnailListByGDI(const std::vector<HWND>& windows, ThumbnailOrigin origin, SIZE box,
                                 const ThumbnailSink& sink) {
  QX_TRACE("WindowsUtil::GetWindowThumbnailListByGDI");
  GdiMaker maker(origin, box);
  MakeAll(maker, windows, sink);
}

void GetWindowThumbnailListByMag(const std::vector<HWND>& windows, ThumbnailOrigin origin, SIZE box,
                                 const ThumbnailSink& sink) {
  QX_TRACE("WindowsUtil::GetWindowThumbnailListByMag");
  MagMaker maker(origin, box, true);
  MakeAll(maker, windows, sink);
}

}  // namespace WindowsUtil

}  // namespace qx
