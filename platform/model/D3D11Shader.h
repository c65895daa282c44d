// Compiled shaders: the DXBC container, its signatures, and a small interpreter that
// knows declarations, `mov`, `sample_indexable` of two-dimensional textures and `ret`.
// Everything else is refused.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vwin::d3d11 {

inline constexpr std::size_t kRegisters = 16;  // of each kind that a shader may use
inline constexpr UINT kSystemPosition = 1;     // the system value of SV_POSITION

template <typename Value>
using Vector4 = std::array<Value, 4>;
template <typename Value>
using RegisterFile = std::array<Vector4<Value>, kRegisters>;

// An input or output of a shader as its signature names it.
struct SignatureElement {
  std::string semantic;
  UINT index;
  UINT systemValue;  // 0 for none
  UINT reg;
};
using Signature = std::vector<SignatureElement>;

// A component of an input register.
struct InputComponent {
  UINT reg;
  UINT component;
};

// A `sample_indexable` instruction: where it samples what. Coordinates that are anything but
// components of inputs are refused.
struct SampleSite {
  InputComponent u;
  InputComponent v;
  UINT texture;
  UINT sampler;
};

class Shader {
 public:
  enum class Stage { kPixel = 0, kVertex = 1 };

  // Null when it is no such shader, was tampered with, or does what nobody here can do.
  static std::shared_ptr<const Shader> Parse(const void* bytecode, std::size_t size, Stage stage);

  const Signature& inputs() const { return m_inputs; }
  const Signature& outputs() const { return m_outputs; }
  const std::vector<SampleSite>& samples() const { return m_samples; }
  // Of a pixel shader: its target is what its only sample gives, as it is.
  bool IsPlainSample() const { return m_plainSample; }

  // `sample` is called with the number of the site and the coordinates; it gives a
  // Vector4.
  template <typename Value, typename Sample>
  RegisterFile<Value> Run(const RegisterFile<Value>& inputs, const Sample& sample) const {
    RegisterFile<Value> outputs{};
    RegisterFile<Value> temps{};
    std::size_t site = 0;
    for (const Instruction& instruction : m_program) {
      const Operand& from = instruction.source;
      Vector4<Value> value{};
      if (instruction.opcode == Opcode::kSample) {
        const Operand& at = instruction.coordinates;
        const Vector4<Value>& where = (at.kind == OperandKind::kTemp ? temps : inputs)[at.reg];
        value = sample(site++, where[at.swizzle[0]], where[at.swizzle[1]]);
      } else if (from.kind == OperandKind::kImmediate) {
        for (std::size_t c = 0; c < 4; ++c) value[c] = Value(from.immediate[c]);
      } else {
        value = (from.kind == OperandKind::kTemp ? temps : inputs)[from.reg];
      }
      const Operand& to = instruction.target;
      Vector4<Value>& target = (to.kind == OperandKind::kTemp ? temps : outputs)[to.reg];
      for (std::size_t c = 0; c < 4; ++c) {
        if (to.mask & 1u << c) target[c] = value[from.swizzle[c]];
      }
    }
    return outputs;
  }

 private:
  enum class Opcode { kMove = 0x36, kReturn = 0x3E, kSample = 0x45 };
  enum class OperandKind {
    kTemp = 0,
    kInput = 1,
    kOutput = 2,
    kImmediate = 4,
    kSampler = 6,
    kTexture = 7
  };
  struct Operand {
    OperandKind kind = OperandKind::kTemp;
    UINT reg = 0;
    UINT mask = 0;
    std::array<std::uint8_t, 4> swizzle{0, 1, 2, 3};
    Vector4<float> immediate{};
  };
  // For a sample the source is the texture, whose swizzle applies to what it gives.
  struct Instruction {
    Opcode opcode;
    Operand target;
    Operand source;
    Operand coordinates;
    UINT sampler = 0;
  };
  class Decoder;

  bool parseProgram(const std::vector<std::uint32_t>& tokens, Stage stage);
  bool analyse(Stage stage);

  Signature m_inputs;
  Signature m_outputs;
  std::vector<Instruction> m_program;
  std::vector<SampleSite> m_samples;
  bool m_plainSample = false;
};

// The inputs that a container declares, for an input layout. Nothing when it is none.
std::optional<Signature> InputSignatureOf(const void* bytecode, std::size_t size);

}  // namespace vwin::d3d11
