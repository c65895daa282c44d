#include "platform/model/D3D11Shader.h"

#include <algorithm>
#include <bit>
#include <span>

#include "platform/model/Dxbc.h"

namespace vwin::d3d11 {
namespace {

std::span<const std::uint8_t> bytesOf(const void* bytecode, std::size_t size) {
  return {static_cast<const std::uint8_t*>(bytecode), bytecode ? size : 0};
}

std::optional<std::string> textAt(std::span<const std::uint8_t> bytes, std::size_t offset) {
  std::string text;
  for (; offset < bytes.size(); ++offset) {
    if (bytes[offset] == 0) return text;
    text.push_back(static_cast<char>(bytes[offset]));
  }
  return std::nullopt;
}

std::optional<Signature> parseSignature(const std::vector<dxbc::Chunk>& chunks, const char* name) {
  constexpr std::size_t kElementSize = 24;
  const dxbc::Chunk* const chunk = dxbc::Find(chunks, name);
  const auto count = chunk ? dxbc::NumberAt(chunk->content, 0) : std::nullopt;
  if (!count || *count > kRegisters) return std::nullopt;
  Signature signature;
  for (std::size_t i = 0; i < *count; ++i) {
    const std::size_t at = 8 + i * kElementSize;
    const auto number = [&](std::size_t field) {
      return dxbc::NumberAt(chunk->content, at + field * 4);
    };
    if (!number(5)) return std::nullopt;
    auto semantic = textAt(chunk->content, *number(0));
    if (!semantic || *number(4) >= kRegisters) return std::nullopt;
    signature.push_back({std::move(*semantic), *number(1), *number(2), *number(4)});
  }
  return signature;
}

std::vector<std::uint32_t> tokensOf(std::span<const std::uint8_t> bytes) {
  std::vector<std::uint32_t> tokens;
  for (std::size_t at = 0; const auto token = dxbc::NumberAt(bytes, at); at += 4)
    tokens.push_back(*token);
  return tokens;
}

// What is in a register while the analysis runs: nothing known, a component of an
// input, or one of what a sample gives.
struct Origin {
  enum class Kind { kOther, kInput, kSample };
  Kind kind = Kind::kOther;
  UINT number = 0;  // of the register or the site
  UINT component = 0;

  Origin() = default;
  Origin(Kind k, UINT n, UINT c) : kind(k), number(n), component(c) {}
  explicit Origin(float) {}
};

}  // namespace

// Reads the operands of one instruction.
class Shader::Decoder {
 public:
  explicit Decoder(std::span<const std::uint32_t> tokens) : m_tokens(tokens) {}

  bool done() const { return m_tokens.empty(); }
  std::optional<std::uint32_t> next() {
    if (done()) return std::nullopt;
    const std::uint32_t token = m_tokens.front();
    m_tokens = m_tokens.subspan(1);
    return token;
  }

  // Extended operands (negated ones, say), relative and two-dimensional indices are
  // not understood.
  std::optional<Operand> operand() {
    constexpr std::uint32_t kOneIndex = 1, kFourComponents = 2;
    const auto token = next();
    if (!token || *token >> 31 || (*token >> 22 & 7)) return std::nullopt;
    Operand read;
    read.kind = static_cast<OperandKind>(*token >> 12 & 0xFF);
    if (read.kind == OperandKind::kImmediate) return immediate(*token, read);
    if ((*token >> 20 & 3) != kOneIndex) return std::nullopt;
    if ((*token & 3) == kFourComponents) selectComponents(*token, read);
    const auto index = next();
    if (!index || *index >= kRegisters) return std::nullopt;
    read.reg = *index;
    return read;
  }

 private:
  static void selectComponents(std::uint32_t token, Operand& read) {
    constexpr std::uint32_t kMask = 0, kSwizzle = 1;
    const std::uint32_t mode = token >> 2 & 3;
    if (mode == kMask) read.mask = token >> 4 & 0xF;
    for (unsigned c = 0; c < 4 && mode != kMask; ++c)
      read.swizzle[c] = token >> (mode == kSwizzle ? 4 + 2 * c : 4) & 3;
  }
  std::optional<Operand> immediate(std::uint32_t token, Operand read) {
    const bool scalar = (token & 3) == 1;
    for (std::size_t c = 0; c < 4; ++c) {
      if (c > 0 && scalar) {
        read.immediate[c] = read.immediate[0];
        continue;
      }
      const auto bits = next();
      if (!bits) return std::nullopt;
      read.immediate[c] = std::bit_cast<float>(*bits);
    }
    return read;
  }

  std::span<const std::uint32_t> m_tokens;
};

std::shared_ptr<const Shader> Shader::Parse(const void* bytecode, std::size_t size, Stage stage) {
  const auto chunks = dxbc::Chunks(bytesOf(bytecode, size));
  if (!chunks) return nullptr;
  // Where the code of shader model 5 lies; that of model 4 has another name.
  const dxbc::Chunk* const program = dxbc::Find(*chunks, "SHEX");
  auto inputs = parseSignature(*chunks, "ISGN");
  auto outputs = parseSignature(*chunks, "OSGN");
  if (!program || !inputs || !outputs) return nullptr;
  const auto shader = std::make_shared<Shader>();
  shader->m_inputs = std::move(*inputs);
  shader->m_outputs = std::move(*outputs);
  if (!shader->parseProgram(tokensOf(program->content), stage) || !shader->analyse(stage))
    return nullptr;
  return shader;
}

bool Shader::parseProgram(const std::vector<std::uint32_t>& tokens, Stage stage) {
  constexpr std::uint32_t kFirstDeclaration = 0x58, kLastDeclaration = 0x6A;
  if (tokens.size() < 2 || tokens[1] > tokens.size() ||
      static_cast<Stage>(tokens[0] >> 16) != stage) {
    return false;
  }
  std::span<const std::uint32_t> left{tokens.data() + 2, tokens[1] - 2};
  while (!left.empty()) {
    const std::uint32_t token = left.front();
    const std::size_t length = token >> 24 & 0x7F;
    if (length == 0 || length > left.size()) return false;
    Decoder decoder(left.subspan(1, length - 1));
    left = left.subspan(length);
    const std::uint32_t code = token & 0x7FF;
    if (code >= kFirstDeclaration && code <= kLastDeclaration) continue;
    Instruction instruction{static_cast<Opcode>(code), {}, {}, {}};
    if (instruction.opcode == Opcode::kReturn) return left.empty() && decoder.done();
    const bool samples = instruction.opcode == Opcode::kSample;
    constexpr std::uint32_t kSaturated = 1u << 13;
    if ((!samples && instruction.opcode != Opcode::kMove) || (token & kSaturated)) return false;
    // The opcode of a sample is extended by the kind of its texture.
    constexpr std::uint32_t kExtended = 1u << 31;
    constexpr std::uint32_t kTexture2D = kExtended | 0xC2, kFourFloats = 0x155543;
    if (samples
            ? !(token & kExtended) || decoder.next() != kTexture2D || decoder.next() != kFourFloats
            : (token & kExtended) != 0) {
      return false;
    }
    const auto target = decoder.operand();
    const auto coordinates = samples ? decoder.operand() : Operand{};
    const auto source = decoder.operand();
    const auto sampler = samples ? decoder.operand() : Operand{};
    if (!target || !coordinates || !source || !sampler || !decoder.done()) return false;
    const auto isRegister = [](const Operand& operand, OperandKind other) {
      return operand.kind == OperandKind::kTemp || operand.kind == other;
    };
    const bool sourceFits =
        samples
            ? source->kind == OperandKind::kTexture && sampler->kind == OperandKind::kSampler &&
                  isRegister(*coordinates, OperandKind::kInput)
            : source->kind == OperandKind::kImmediate || isRegister(*source, OperandKind::kInput);
    // Where a pixel lies is not told.
    const bool readsPosition =
        stage == Stage::kPixel && source->kind == OperandKind::kInput &&
        std::any_of(m_inputs.begin(), m_inputs.end(), [&](const SignatureElement& input) {
          return input.reg == source->reg && input.systemValue == kSystemPosition;
        });
    if (readsPosition || !sourceFits || !isRegister(*target, OperandKind::kOutput)) return false;
    instruction.target = *target;
    instruction.source = *source;
    instruction.coordinates = *coordinates;
    instruction.sampler = sampler->reg;
    m_program.push_back(instruction);
  }
  return false;  // no `ret`
}

// Runs the program on where values come from, instead of on values.
bool Shader::analyse(Stage stage) {
  RegisterFile<Origin> inputs;
  for (UINT reg = 0; reg < kRegisters; ++reg) {
    for (UINT c = 0; c < 4; ++c) inputs[reg][c] = {Origin::Kind::kInput, reg, c};
  }
  for (const Instruction& instruction : m_program) {
    if (instruction.opcode == Opcode::kSample)
      m_samples.push_back({{}, {}, instruction.source.reg, instruction.sampler});
  }
  if (stage != Stage::kPixel && !m_samples.empty()) return false;
  bool known = true;
  const auto sample = [&](std::size_t site, const Origin& u, const Origin& v) {
    known &= u.kind == Origin::Kind::kInput && v.kind == Origin::Kind::kInput;
    m_samples[site].u = {u.number, u.component};
    m_samples[site].v = {v.number, v.component};
    Vector4<Origin> value;
    for (UINT c = 0; c < 4; ++c) value[c] = {Origin::Kind::kSample, static_cast<UINT>(site), c};
    return value;
  };
  const RegisterFile<Origin> outputs = Run(inputs, sample);
  m_plainSample = m_samples.size() == 1;
  for (UINT c = 0; c < 4; ++c) {
    if (outputs[0][c].kind != Origin::Kind::kSample || outputs[0][c].component != c)
      m_plainSample = false;
  }
  return known;
}

std::optional<Signature> InputSignatureOf(const void* bytecode, std::size_t size) {
  const auto chunks = dxbc::Chunks(bytesOf(bytecode, size));
  return chunks ? parseSignature(*chunks, "ISGN") : std::nullopt;
}

}  // namespace vwin::d3d11
