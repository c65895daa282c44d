// Registry values and thread names.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "platform/control/Clock.h"
#include "platform/control/Faults.h"
#include "platform/control/Machine.h"
#include "win/util/Thread.h"
#include "win/util/Utils.h"

namespace qx {
namespace {

using namespace vwin::control;

TEST(Registry, DwordsOfTheUser) {
  constexpr char kKey[] = "Software\\Maker\\Product";
  std::uint32_t value = 5;
  EXPECT_EQ(ReadRegistryDword(HKEY_CURRENT_USER, kKey, "Value", &value), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(WriteRegistryDword(HKEY_CURRENT_USER, kKey, "Value", &value), ERROR_FILE_NOT_FOUND)
      << "a key is not made";
  SetRegistryDword(kKey, "Value", 17);
  EXPECT_EQ(ReadRegistryDword(HKEY_CURRENT_USER, kKey, "Value", &value), 0);
  EXPECT_EQ(value, 17u);
  value = 0x80000001;
  EXPECT_EQ(WriteRegistryDword(HKEY_CURRENT_USER, kKey, "Value", &value), 0);
  EXPECT_EQ(RegistryDword(kKey, "Value"), 0x80000001u);

  ResetCounts();
  EXPECT_EQ(ReadRegistryDword(HKEY_CURRENT_USER, kKey, "", &value), 87);
  EXPECT_EQ(ReadRegistryDword(HKEY_CURRENT_USER, "", "Value", &value), 87);
  EXPECT_EQ(WriteRegistryDword(HKEY_CURRENT_USER, kKey, "", &value), 87);
  EXPECT_EQ(Count("RegOpenKeyExA"), 0u);
}

TEST(ThreadName, IsSetWhereItFits) {
  const auto hasName = [](const std::string& name) {
    const auto names = ThreadNames();
    return std::find(names.begin(), names.end(), name) != names.end();
  };
  Thread thread;
  ASSERT_TRUE(thread.Start([&] {
    SetCurrentThreadName("SC-\xC3\xA9");
    EXPECT_TRUE(hasName("SC-\xC3\xA9"));
    SetCurrentThreadName(std::string(64, 'x').c_str());
    EXPECT_TRUE(hasName("SC-\xC3\xA9")) << "too long";
    SetCurrentThreadName(std::string(63, 'x').c_str());
    EXPECT_TRUE(hasName(std::string(63, 'x')));
  }));
  thread.Join();
}

}  // namespace
}  // namespace qx
