// What a machine that a test has configured refuses.
#include "platform/control/Machine.h"

#include <dwmapi.h>
#include <gtest/gtest.h>

#include "platform/control/Desktop.h"
#include "tests/platform/TestWindow.h"

namespace qx::test {
namespace {

using namespace vwin::control;

TEST(Registry, ChecksTheRightsOfAKey) {
  SetRegistryDword("Software\\Test", "Number", 7);
  for (const bool reads : {false, true}) {
    HKEY key = nullptr;
    BYTE bytes[4] = {};
    DWORD size = sizeof(bytes);
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExA(HKEY_CURRENT_USER, "SOFTWARE\\test\\", 0,
                                           reads ? KEY_READ : KEY_WRITE, &key));
    EXPECT_EQ(reads ? ERROR_SUCCESS : ERROR_ACCESS_DENIED,
              RegQueryValueExA(key, "number", nullptr, nullptr, bytes, &size));
    EXPECT_EQ(reads ? ERROR_ACCESS_DENIED : ERROR_SUCCESS,
              RegSetValueExA(key, "Number", 0, REG_DWORD, bytes, 4));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
  }
}

TEST(Thumbnails, NeedComposition) {
  SetVersion(kWindows7);
  const TestWindow host({0, 0, 80, 80});
  const HWND source = OpenWindow({});
  HTHUMBNAIL thumbnail = nullptr;
  ASSERT_EQ(DwmRegisterThumbnail(host, source, &thumbnail), S_OK);
  SetComposition(false);
  SIZE size{};
  EXPECT_EQ(DwmQueryThumbnailSourceSize(thumbnail, &size), DWM_E_COMPOSITIONDISABLED);
  EXPECT_EQ(DwmRegisterThumbnail(host, source, &thumbnail), DWM_E_COMPOSITIONDISABLED);
  EXPECT_EQ(DwmUnregisterThumbnail(thumbnail), S_OK);
}

}  // namespace
}  // namespace qx::test
