// compile-shader PROFILE SOURCE.hlsl BLOB: compiles main() of a shader with the
// compiler that the system has, as the SDK's `fxc /nologo /T PROFILE /Fo BLOB
// SOURCE.hlsl` does. Exit code 0, or 1 after saying what is wrong.
#include <d3dcompiler.h>
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "win/util/ComPtr.h"
#include "win/util/Handles.h"

// What the system has no header for. A digest's state is `state` after whole blocks.
struct Md5Context {
  std::uint32_t bits[2];
  std::uint32_t state[4];
  std::uint8_t block[64];
  std::uint8_t digest[16];
};
extern "C" void WINAPI MD5Init(Md5Context* context);
extern "C" void WINAPI MD5Update(Md5Context* context, const void* data, unsigned int size);

namespace {

using qx::ComPtr;

constexpr std::size_t kChecksumOffset = 4;
constexpr std::size_t kChecksumBytes = 16;
constexpr std::size_t kCheckedFrom = kChecksumOffset + kChecksumBytes;

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

std::string Word(std::size_t value) {
  const auto word = static_cast<std::uint32_t>(value);
  return {reinterpret_cast<const char*>(&word), sizeof(word)};
}

// A container's checksum: MD5 but for the end, where the length comes first and last.
std::string Checksum(const std::string& container) {
  constexpr std::size_t kBlock = 64;
  std::string data = container.substr(kCheckedFrom);
  const std::size_t bits = data.size() * 8;
  const std::size_t rest = data.size() % kBlock;
  if (rest + 2 * sizeof(std::uint32_t) < kBlock) {
    data.insert(data.size() - rest, Word(bits));
    data += '\x80';
  } else {
    data += '\x80';
    data.resize(data.size() + kBlock - 1 - rest);
    data += Word(bits);
  }
  data.resize((data.size() + kBlock - 1) / kBlock * kBlock - sizeof(std::uint32_t));
  data += Word(bits >> 2 | 1);
  Md5Context context = {};
  MD5Init(&context);
  MD5Update(&context, data.data(), static_cast<unsigned int>(data.size()));
  return {reinterpret_cast<const char*>(context.state), kChecksumBytes};
}

// Code of shader model 5 belongs into a chunk SHEX. Wine's compiler puts it into SHDR,
// which is where Windows looks for code of model 4.
void NameCodeChunk(std::string& container) {
  if (Checksum(container) != container.substr(kChecksumOffset, kChecksumBytes)) {
    throw std::runtime_error("the compiler's checksum is not the known one");
  }
  const std::size_t code = container.find("SHDR");
  if (code == std::string::npos) {
    return;
  }
  container.replace(code, 4, "SHEX");
  container.replace(kChecksumOffset, kChecksumBytes, Checksum(container));
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
  std::string container = Text(code.Get());
  if (profile.find("_5_") != std::string::npos) {
    NameCodeChunk(container);
  }
  std::ofstream out(blob, std::ios::binary);
  if (!(out << container).flush()) {
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
