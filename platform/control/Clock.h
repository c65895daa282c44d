// The test side of time.
//
//   OwnClock();                      // first thing in a test where time decides
//   capture->ShareDesktop(...);
//   Advance(100ms);                  // ticks at 0, 33.3, 66.6 and 100 ms have run
//
// Under an owned clock a test's own waits can't hang: see Scheduler.h. A thread of
// the test that should count as the machine's must be started with CreateThread.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace vwin::control {

// From now on time stands still but for Advance and waits on the test's own
// threads. It starts at the same values in every run.
void OwnClock();

// Moves time forward from one deadline to the next, letting all threads of the
// machine run on each until they wait again. On a test's own thread only.
void Advance(std::chrono::microseconds by);
// Lets all threads run until they wait, without moving time.
void Settle();
// Called on one of the machine's threads (in a listener, say): keeps it busy until
// the clock has moved so far.
void Spend(std::chrono::microseconds by);

// Monotonic, since the machine started.
std::chrono::microseconds Now();
// Since 1970-01-01 UTC.
std::chrono::microseconds SystemTime();
// Sets the wall clock, forwards or backwards; the monotonic one stays.
void SetSystemTime(std::chrono::microseconds since1970);

// How long, in real time, Advance, Settle and the waits of a test's own threads may
// take before the process is ended with a report; 30 s unless set.
void SetPatience(std::chrono::milliseconds patience);

// Names of the machine's threads, "" for one without a name.
std::vector<std::string> ThreadNames();

}  // namespace vwin::control
