// The compiled shaders in the tree are those of the sources beside them, as far as what
// goes into them and what comes out tells.
#include <gtest/gtest.h>

#include <bit>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "win/engine/dxgi/shaders/QuadShaders.h"

namespace qx {
namespace {

// One register of a shader's inputs or outputs.
struct Element {
  std::string semantic;
  std::uint32_t place;
  int components;

  bool operator==(const Element&) const = default;
};
using Elements = std::vector<Element>;

std::ostream& operator<<(std::ostream& out, const Element& element) {
  return out << element.semantic << " in register " << element.place << ", float"
             << element.components;
}

std::string Source(const char* name) {
  std::ifstream file(std::string(QX_SHADERS "/") + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

// What `source` declares as "floatN name : SEMANTIC" from `begin` to `end`. Registers are
// given in this order.
Elements Declared(const std::string& source, const char* begin, const char* end) {
  const std::size_t first = source.find(begin);
  const std::size_t last = source.find(end, first);
  Elements elements;
  for (std::size_t at = first; (at = source.find("float", at)) < last; ++at) {
    const std::size_t name = source.find(": ", at) + 2;
    std::size_t behind = name;
    while (std::isalnum(source.at(behind)) || source.at(behind) == '_') {
      ++behind;
    }
    elements.push_back({source.substr(name, behind - name),
                        static_cast<std::uint32_t>(elements.size()), source.at(at + 5) - '0'});
  }
  return elements;
}

std::uint32_t NumberAt(std::span<const unsigned char> bytes, std::size_t offset) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes.subspan(offset, sizeof(number)).data(), sizeof(number));
  return number;
}

// "ISGN" for the inputs, "OSGN" for the outputs. The container begins with 28 bytes before
// the number of chunks and where they lie, a chunk with its name and size.
Elements Compiled(std::span<const unsigned char> shader, const std::string& signature) {
  Elements elements;
  for (std::uint32_t chunk = 0; chunk < NumberAt(shader, 28); ++chunk) {
    const auto begin = shader.subspan(NumberAt(shader, 32 + std::size_t{chunk} * 4));
    if (std::string(begin.begin(), begin.begin() + 4) != signature) {
      continue;
    }
    const auto content = begin.subspan(8, NumberAt(begin, 4));
    for (std::uint32_t i = 0; i < NumberAt(content, 0); ++i) {
      const auto element = content.subspan(8 + std::size_t{i} * 24);
      const auto name = content.subspan(NumberAt(element, 0));
      elements.push_back({reinterpret_cast<const char*>(name.data()), NumberAt(element, 16),
                          std::popcount(NumberAt(element, 20) & 0xF)});
    }
  }
  return elements;
}

TEST(QuadShaders, CompiledOnesTakeAndGiveWhatTheirSourcesSay) {
  const std::string vertex = Source("QuadVertexShader.hlsl");
  const std::string pixel = Source("QuadPixelShader.hlsl");
  const Elements inputs = Declared(vertex, "struct Vertex", "}");
  ASSERT_EQ(inputs.size(), 2u);
  EXPECT_EQ(Compiled(kQuadVertexShader, "ISGN"), inputs);
  EXPECT_EQ(Compiled(kQuadVertexShader, "OSGN"), Declared(vertex, "struct Corner", "}"));
  EXPECT_EQ(Compiled(kQuadPixelShader, "ISGN"), Declared(pixel, "struct Corner", "}"));
  EXPECT_EQ(Compiled(kQuadPixelShader, "OSGN"), Declared(pixel, "float4 main", "{"));
}

}  // namespace
}  // namespace qx
