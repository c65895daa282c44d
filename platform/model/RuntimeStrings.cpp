#include "platform/model/RuntimeStrings.h"

#include <memory>
#include <utility>

#include "platform/model/HandleTable.h"
#include "platform/model/Ledger.h"

namespace vwin::runtime_strings {
namespace {

struct String : Object {
  explicit String(std::wstring text_) : text(std::move(text_)) {}
  const std::wstring text;
};

}  // namespace

wgc::HSTRING Make(Lock& lock, std::wstring text, const char* call) {
  if (text.empty()) return nullptr;
  return static_cast<wgc::HSTRING>(
      handles::Add(lock, HandleKind::kString, std::make_shared<String>(std::move(text)), call));
}

std::optional<std::wstring> TextOf(Lock& lock, wgc::HSTRING string, const char* call) {
  if (string == nullptr) return std::wstring();
  const auto found = handles::Get<String>(lock, HandleKind::kString, string);
  if (found) return found->text;
  ledger::Misuse(lock, std::string(call) + ": no string, or one that was deleted");
  return std::nullopt;
}

void Delete(Lock& lock, wgc::HSTRING string) {
  if (string != nullptr && !handles::Remove(lock, HandleKind::kString, string))
    ledger::Misuse(lock, "WindowsDeleteString: no string, or one that was deleted");
}

}  // namespace vwin::runtime_strings
