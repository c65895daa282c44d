#include "win/util/Wait.h"

#include "win/util/Clock.h"

namespace qx {

namespace {

// A message that the queue holds already counts as well as one that comes.
DWORD WaitOnce(HANDLE object, DWORD milliseconds) {
  return MsgWaitForMultipleObjectsEx(1, &object, milliseconds, QS_SENDMESSAGE, MWMO_INPUTAVAILABLE);
}

// Looking for a message has the system answer all sent ones.
void AnswerSentMessages() {
  MSG message;
  static_cast<void>(PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE));
}

}  // namespace

bool WaitAnswering(HANDLE object, DWORD milliseconds) {
  const bool endless = milliseconds == INFINITE;
  const Deadline deadline(milliseconds);
  DWORD left = milliseconds;
  for (;;) {
    const DWORD answer = WaitOnce(object, left);
    if (answer == WAIT_OBJECT_0) {
      return true;
    }
    if (answer == WAIT_OBJECT_0 + 1) {
      AnswerSentMessages();
    } else if (answer != WAIT_TIMEOUT) {
      // A wait that was refused must not pass for the end of what it waited for.
      Sleep(1);
      if (WaitForSingleObject(object, 0) == WAIT_OBJECT_0) {
        return true;
      }
    }
    if (!endless) {
      left = deadline.MillisLeft();
      if (left == 0) {
        return WaitForSingleObject(object, 0) == WAIT_OBJECT_0;
      }
    }
  }
}

}  // namespace qx
