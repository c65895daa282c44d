// The compiled shaders in the tree are those of the sources beside them, as far as what
// goes into them and what comes out tells.
#include <gtest/gtest.h>

#include <bit>
#include <fstream>
#include <iterator>
#include <regex>
#include <span>
#include <string>
#include <vector>

#include "platform/model/Dxbc.h"
#include "win/engine/dxgi/shaders/QuadShaders.h"

namespace qx {
namespace {

// The registers of a shader's inputs or outputs, each as "float2 TEXCOORD".
using Elements = std::vector<std::string>;

std::string Source(const char* name) {
  std::ifstream file(std::string(QX_SHADERS "/") + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

// What `source` declares from `begin` to `end`.
Elements Declared(const std::string& source, const char* begin, const char* end) {
  const std::size_t first = source.find(begin);
  const std::string part = source.substr(first, source.find(end, first) - first);
  static const std::regex element(R"((float\d) \w+(\(.*\))? : (\w+))");
  Elements elements;
  for (std::sregex_iterator at(part.begin(), part.end(), element), last; at != last; ++at) {
    elements.push_back(at->str(1) + " " + at->str(3));
  }
  return elements;
}

// "ISGN" for the inputs, "OSGN" for the outputs, in the order of their registers.
Elements Compiled(std::span<const unsigned char> shader, const char* signature) {
  const auto chunks = vwin::dxbc::Chunks(shader);
  const auto content = vwin::dxbc::Find(chunks.value(), signature)->content;
  const auto number = [&](std::size_t at) { return vwin::dxbc::NumberAt(content, at).value(); };
  Elements elements(number(0));
  for (std::size_t i = 0; i < elements.size(); ++i) {
    const std::size_t element = 8 + i * 24;
    const int components = std::popcount(number(element + 20) & 0xF);
    elements.at(number(element + 16)) =
        "float" + std::to_string(components) + " " +
        reinterpret_cast<const char*>(content.subspan(number(element)).data());
  }
  return elements;
}

TEST(QuadShaders, CompiledOnesTakeAndGiveWhatTheirSourcesSay) {
  const std::string vertex = Source("QuadVertexShader.hlsl");
  const std::string pixel = Source("QuadPixelShader.hlsl");
  const Elements inputs = Declared(vertex, "struct Vertex", "}");
  ASSERT_EQ(inputs, (Elements{"float4 POSITION", "float2 TEXCOORD"}));
  EXPECT_EQ(Compiled(kQuadVertexShader, "ISGN"), inputs);
  EXPECT_EQ(Compiled(kQuadVertexShader, "OSGN"), Declared(vertex, "struct Corner", "}"));
  EXPECT_EQ(Compiled(kQuadPixelShader, "ISGN"), Declared(pixel, "struct Corner", "}"));
  EXPECT_EQ(Compiled(kQuadPixelShader, "OSGN"), Declared(pixel, "float4 main", "{"));
}

}  // namespace
}  // namespace qx
