# Third-party libraries. scripts/setup installs them: for linux from Debian's
# packages, for MinGW under build/deps. For MSVC they come with vcpkg.
find_package(Threads REQUIRED)

if(MSVC)
  find_package(libyuv CONFIG REQUIRED)
  find_package(fmt CONFIG REQUIRED)
  add_library(fmt-header-only ALIAS fmt::fmt-header-only)
  find_package(zydis CONFIG REQUIRED)
  add_library(zydis ALIAS Zydis::Zydis)
  find_package(GTest CONFIG REQUIRED)
  add_library(gtest ALIAS GTest::gtest)
  find_package(Stb REQUIRED)
  add_library(stb INTERFACE)
  target_include_directories(stb SYSTEM INTERFACE ${Stb_INCLUDE_DIR})
elseif(WIN32)
  set(QX_DEPS ${CMAKE_SOURCE_DIR}/build/deps CACHE PATH "Where scripts/setup put the libraries for Windows")
  add_library(yuv STATIC IMPORTED)
  set_target_properties(yuv PROPERTIES
    IMPORTED_LOCATION ${QX_DEPS}/lib/libyuv.a
    INTERFACE_INCLUDE_DIRECTORIES ${QX_DEPS}/include)
  add_library(fmt-header-only INTERFACE)
  target_include_directories(fmt-header-only SYSTEM INTERFACE ${QX_DEPS}/include)
  target_compile_definitions(fmt-header-only INTERFACE FMT_HEADER_ONLY)
  add_library(zydis STATIC IMPORTED)
  set_target_properties(zydis PROPERTIES
    IMPORTED_LOCATION ${QX_DEPS}/lib/libzydis.a
    INTERFACE_INCLUDE_DIRECTORIES ${QX_DEPS}/include
    INTERFACE_COMPILE_DEFINITIONS
      "ZYDIS_STATIC_BUILD;ZYDIS_DISABLE_FORMATTER;ZYDIS_DISABLE_ENCODER")
  add_library(gtest STATIC IMPORTED)
  set_target_properties(gtest PROPERTIES
    IMPORTED_LOCATION ${QX_DEPS}/lib/libgtest.a
    INTERFACE_INCLUDE_DIRECTORIES ${QX_DEPS}/include)
  add_library(stb INTERFACE)
  target_include_directories(stb SYSTEM INTERFACE ${QX_DEPS}/include)
else()
  find_library(YUV_LIBRARY yuv REQUIRED)
  add_library(yuv INTERFACE)
  target_link_libraries(yuv INTERFACE ${YUV_LIBRARY})
  find_package(PNG REQUIRED)  # under virtual Windows
  find_package(fmt REQUIRED)
  add_library(fmt-header-only INTERFACE)
  target_link_libraries(fmt-header-only INTERFACE fmt::fmt-header-only)
  find_package(GTest REQUIRED)
  add_library(gtest INTERFACE)
  target_link_libraries(gtest INTERFACE GTest::gtest)
  find_path(STB_INCLUDE stb_image_write.h PATH_SUFFIXES stb REQUIRED)
  add_library(stb INTERFACE)
  target_include_directories(stb SYSTEM INTERFACE ${STB_INCLUDE})
endif()
