// What reaches the host's log callback.
#include "common/Logging.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace qx {
namespace {

struct Line {
  int level;
  std::string file;
  int line;
  std::string text;
};
std::vector<Line> g_lines;

void Keep(int level, const char* file, int line, const char* message) {
  g_lines.push_back({level, file, line, message});
}

class Logging : public testing::Test {
 protected:
  Logging() {
    g_lines.clear();
    LogInstance::Instance().SetCallback(Keep);
  }
  ~Logging() override { LogInstance::Instance().SetCallback(nullptr); }
};

TEST_F(Logging, MessageHasTheTagAndItsPlace) {
  QX_LOG_WARN("GetMonitorInfo failed,error:{}", 5);
  const int line = __LINE__ - 1;
  ASSERT_EQ(g_lines.size(), 1u);
  EXPECT_EQ(g_lines[0].level, 4);
  EXPECT_EQ(g_lines[0].text, "[qx-screen-capture]: GetMonitorInfo failed,error:5");
  EXPECT_EQ(g_lines[0].line, line);
  EXPECT_EQ(g_lines[0].file, "tests/unit/logging_test.cpp") << "no path of the build machine";

  QX_LOG_INFO("no arguments, {} stays");
  EXPECT_EQ(g_lines[1].text, "[qx-screen-capture]: no arguments, {} stays");
  const std::string text(3000, 'x');
  QX_LOG_DEBUG("{}", text);
  EXPECT_EQ(g_lines[2].text, "[qx-screen-capture]: " + text);
}

TEST_F(Logging, ThrowingCallbackStaysOutside) {
  LogInstance::Instance().SetCallback(
      [](int, const char*, int, const char*) { throw std::runtime_error("host"); });
  EXPECT_NO_THROW(QX_LOG_INFO("plain"));
  EXPECT_NO_THROW(QX_LOG_INFO("formatted {}", 1));
  EXPECT_NO_THROW(QX_TRACE("Traced"));
}

TEST_F(Logging, TracerMarksEntryAndExitAlsoByException) {
  try {
    QX_TRACE("Class::Operation");
    QX_LOG_INFO("inside");
    throw std::runtime_error("out");
  } catch (const std::runtime_error&) {
  }
  ASSERT_EQ(g_lines.size(), 3u);
  EXPECT_EQ(g_lines[0].text, "[qx-screen-capture]: entry Class::Operation");
  EXPECT_EQ(g_lines[2].text.find("[qx-screen-capture]: exit Class::Operation, cost: "), 0u)
      << g_lines[2].text;
  EXPECT_EQ(g_lines[0].level, 3);
  EXPECT_EQ(g_lines[0].line, g_lines[2].line);
  EXPECT_EQ(g_lines[0].file, g_lines[2].file);
}

}  // namespace
}  // namespace qx
