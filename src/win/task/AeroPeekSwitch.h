#pragma once

namespace qx {

// Keeps the desktop's Aero Peek off while a window is shared: it would turn the
// window to glass in front of the audience whenever the mouse touches the end of the
// taskbar. The user's value is put back with the last share of the process that
// turned it off. A failure is logged and changes nothing else.
class AeroPeekSwitch {
 public:
  AeroPeekSwitch() = default;
  AeroPeekSwitch(const AeroPeekSwitch&) = delete;
  AeroPeekSwitch& operator=(const AeroPeekSwitch&) = delete;
  ~AeroPeekSwitch() { PutBack(); }

  void TurnOff();
  // Does nothing unless turned off.
  void PutBack();

 private:
  bool m_turnedOff = false;
};

}  // namespace qx
