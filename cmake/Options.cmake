# What every target of ours is compiled with: link `qx-options` (all) and
# `qx-strict` (the library and its header, which MSVC must accept as well).
add_library(qx-options INTERFACE)
add_library(qx-strict INTERFACE)
target_link_libraries(qx-strict INTERFACE qx-options)
if(MSVC)
  target_compile_options(qx-options INTERFACE /W4 /WX /utf-8 /EHsc /Zc:__cplusplus)
  target_compile_options(qx-strict INTERFACE /permissive-)
else()
  target_compile_options(qx-options INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Werror
    -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
  target_compile_options(qx-strict INTERFACE -Wpedantic)
endif()
if(QX_SANITIZE)
  target_compile_options(qx-options INTERFACE
    -fsanitize=${QX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(qx-options INTERFACE -fsanitize=${QX_SANITIZE})
endif()

if(WIN32)
  # Windows 7 is the oldest system that the library runs on.
  target_compile_definitions(qx-options INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN STRICT WINVER=0x0A00 _WIN32_WINNT=0x0A00)
  if(MSVC)
    # Files are opened as in any other C library.
    target_compile_definitions(qx-options INTERFACE _CRT_SECURE_NO_WARNINGS)
  endif()
endif()
if(MINGW)
  # The DLL and the programs beside it need no compiler runtime DLL.
  target_link_options(qx-options INTERFACE -static -static-libgcc -static-libstdc++)
endif()

# qx_precompile(TARGET [HEADER...]): what nearly every file of the target includes is read
# once. Each file still names what it uses: scripts/compile-clang compiles without this.
function(qx_precompile target)
  set(headers windows.h algorithm atomic chrono functional memory mutex optional string utility
    vector ${ARGN})
  list(TRANSFORM headers REPLACE "(.+)" "$<$<COMPILE_LANGUAGE:CXX>:<\\1$<ANGLE-R>>")
  target_precompile_headers(${target} PRIVATE ${headers})
endfunction()
