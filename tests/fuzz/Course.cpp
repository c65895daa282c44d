#include "tests/fuzz/Course.h"

#include "tests/fuzz/Promise.h"

namespace qx::fuzz {

void Course::Follow(qx_event_type type, std::int32_t value) {
  Promise(!m_stopped, "nothing follows the stop of a share");
  Promise(type == QX_EVENT_START || m_started || !hears(QX_EVENT_START) ||
              (type == QX_EVENT_CAPTURE_ENGINE_NAME && m_engines == 0),
          "one engine is named before the start, and nothing else");
  switch (type) {
    case QX_EVENT_START:
      Promise(!m_started, "a share starts once");
      Promise(m_engines != 0 || !hears(QX_EVENT_CAPTURE_ENGINE_NAME),
              "the first engine is named before the start");
      m_started = true;
      break;
    case QX_EVENT_PAUSE:
      Promise(value >= QX_PAUSE_REASON_CAPTURE_FAILED && value <= QX_PAUSE_REASON_FILTER_FAILED,
              "a pause has a reason");
      Promise(value != m_paused || !hears(QX_EVENT_RESUME), "a pause is told once");
      m_paused = value;
      break;
    case QX_EVENT_RESUME:
      Promise(m_paused != 0 || !hears(QX_EVENT_PAUSE), "only what is paused is resumed");
      m_paused = 0;
      break;
    case QX_EVENT_STOP:
      m_stopped = true;
      break;
    case QX_EVENT_FIRST_FRAME:
      Promise(!m_firstFrame, "a share has one first frame");
      m_firstFrame = true;
      break;
    case QX_EVENT_CAPTURE_ENGINE_NAME:
      Promise(value >= QX_CAPTURE_ENGINE_NONE && value <= QX_CAPTURE_ENGINE_GDI_PRINT_WINDOW,
              "an engine has a name");
      m_engines |= 1u << value;
      break;
    default:
      Promise(type >= QX_EVENT_START && type <= QX_EVENT_SHARE_RECT_CHANGED, "an event has a type");
  }
}

void Course::FollowFrame(bool isEmpty) {
  Promise(!m_stopped, "nothing follows the stop of a share");
  Promise(m_started || !hears(QX_EVENT_START), "no frame comes before the start");
  if (isEmpty) {
    Promise(m_paused != 0 || !hears(QX_EVENT_PAUSE), "only a pause repeats what is no picture");
  } else {
    Promise(m_firstFrame || !hears(QX_EVENT_FIRST_FRAME), "the first frame is announced");
  }
}

}  // namespace qx::fuzz
