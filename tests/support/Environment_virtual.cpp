#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "platform/control/Ledger.h"
#include "tests/support/Environment.h"

namespace qx::test {
namespace {

// A detached thread of the library gives its things back a moment after its last
// callback.
constexpr std::chrono::seconds kLongEnough{5};

class LedgerCheck : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override {
    m_before = vwin::control::Snapshot();
    m_misusesBefore = vwin::control::Misuses().size();
  }

  void OnTestEnd(const testing::TestInfo&) override {
    const auto end = std::chrono::steady_clock::now() + kLongEnough;
    std::string left = vwin::control::Difference(m_before);
    while (!left.empty() && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      left = vwin::control::Difference(m_before);
    }
    if (!left.empty()) {
      ADD_FAILURE() << "the test left behind:\n" << left;
    }
    const std::vector<std::string> misuses = vwin::control::Misuses();
    for (std::size_t i = m_misusesBefore; i < misuses.size(); ++i) {
      ADD_FAILURE() << "misuse: " << misuses[i];
    }
  }

  vwin::control::LedgerSnapshot m_before;
  std::size_t m_misusesBefore = 0;
};

}  // namespace

void AddListeners() {
  testing::UnitTest::GetInstance()->listeners().Append(new LedgerCheck);  // gtest owns it
}

}  // namespace qx::test
