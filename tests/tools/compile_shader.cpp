// compile-shader PROFILE SOURCE.hlsl BLOB: compiles main() of a shader with the
// d3dcompiler_47.dll beside it, as the SDK's `fxc /nologo /T PROFILE /Fo BLOB
// SOURCE.hlsl` does. Exit code 0, or 1 after saying what is wrong.
#include <d3dcompiler.h>
#include <windows.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "win/util/ComPtr.h"
#include "win/util/Handles.h"

namespace {

using qx::ComPtr;

std::string Text(ID3DBlob* blob) {
  return {static_cast<const char*>(blob->GetBufferPointer()), blob->GetBufferSize()};
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("can't read " + path);
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

void Compile(const std::string& profile, const std::string& source, const std::string& blob) {
  const qx::Module compiler(LoadLibraryW(L"d3dcompiler_47.dll"));
  if (!compiler) {
    throw std::runtime_error("there is no d3dcompiler_47.dll");
  }
  const auto compile = reinterpret_cast<pD3DCompile>(
      reinterpret_cast<void*>(GetProcAddress(compiler.Get(), "D3DCompile")));
  if (!compile) {
    throw std::runtime_error("d3dcompiler_47.dll has no D3DCompile");
  }
  const std::string text = ReadFile(source);
  ComPtr<ID3DBlob> code;
  ComPtr<ID3DBlob> messages;
  // Without the file's name: it would make the blob depend on where the tree lies.
  const HRESULT hr =
      compile(text.data(), text.size(), nullptr, nullptr, nullptr, "main", profile.c_str(),
              D3DCOMPILE_OPTIMIZATION_LEVEL3, 0, code.Put(), messages.Put());
  if (FAILED(hr)) {
    throw std::runtime_error(source + " as " + profile + ": " +
                             (messages ? Text(messages.Get()) : "error " + std::to_string(hr)));
  }
  std::ofstream out(blob, std::ios::binary);
  if (!(out << Text(code.Get())).flush()) {
    throw std::runtime_error("can't write " + blob);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fputs("usage: compile-shader PROFILE SOURCE.hlsl BLOB\n", stderr);
    return 1;
  }
  try {
    Compile(argv[1], argv[2], argv[3]);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "compile-shader: %s\n", error.what());
    return 1;
  }
}
