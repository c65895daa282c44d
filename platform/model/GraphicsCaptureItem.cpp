#include "platform/model/GraphicsCaptureItem.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "platform/model/Desktop.h"
#include "platform/model/GraphicsCapturePicture.h"
#include "platform/model/Inspectable.h"
#include "platform/model/Ledger.h"
#include "platform/model/RuntimeStrings.h"
#include "platform/model/Threads.h"

namespace vwin::capture {
namespace {

class Item;

struct State {
  std::vector<Item*> items;  // those that live
  std::int64_t lastToken = 0;
  bool holds = false;
  std::uint64_t deliveries = 0;  // DeliverClosed calls so far
};

State& Get(Lock&) {
  static auto* const state = new State;
  return *state;
}

bool exists(Lock& lock, const Source& source) {
  return source.window ? desktop::FindWindow(lock, source.window) != nullptr
                       : desktop::FindMonitor(lock, source.monitor) != nullptr;
}

// A reference to somebody's handler. To be made and dropped without the lock.
class Handler {
 public:
  explicit Handler(wgc::IClosedHandler* object) : m_object(object) {
    m_object->AddRef();
    IUnknown* agile = nullptr;
    const auto out = reinterpret_cast<void**>(&agile);
    m_agile = SUCCEEDED(m_object->QueryInterface(wgc::IID_IAgileObject, out)) && agile;
    if (agile) agile->Release();
  }
  ~Handler() { m_object->Release(); }
  Handler(const Handler&) = delete;
  Handler& operator=(const Handler&) = delete;

  bool isAgile() const { return m_agile; }
  void Call(wgc::IGraphicsCaptureItem* item) const { (void)m_object->Invoke(item, nullptr); }

 private:
  wgc::IClosedHandler* const m_object;
  bool m_agile = false;
};
using Handlers = std::map<std::int64_t, std::shared_ptr<const Handler>>;

// What the system's thread has in hand.
struct Delivery {
  wgc::IGraphicsCaptureItem* item;  // a reference
  Handlers handlers;
  std::optional<std::uint64_t> heldUntil;  // there were more deliveries than these
};

unsigned deliver(void* argument) {
  const std::unique_ptr<Delivery> delivery(static_cast<Delivery*>(argument));
  {
    Lock lock;
    scheduler::SetThreadName(lock, scheduler::CurrentThreadId(), "Closed of a capture item");
    scheduler::WaitUntil(lock, "a Closed that is held", [&] {
      return !delivery->heldUntil || Get(lock).deliveries > *delivery->heldUntil;
    });
  }
  for (const auto& [token, handler] : delivery->handlers) {
    // Windows would call on the thread that has added it.
    if (handler->isAgile()) handler->Call(delivery->item);
  }
  delivery->item->Release();
  return 0;
}

class Item final : public Inspectable<wgc::IGraphicsCaptureItem> {
 public:
  Item(const Source& source, const char* call)
      : Inspectable("GraphicsCaptureItem", call), m_source(std::make_shared<Source>(source)) {
    Lock lock;
    m_source->closed = !exists(lock, source);
    m_size = ContentSize(lock, source).value_or(SIZE{});
    Get(lock).items.push_back(this);
  }

  const std::shared_ptr<Source>& source() const { return m_source; }
  void CheckUse(const char* call) { checkAlive(call); }

  HRESULT STDMETHODCALLTYPE get_DisplayName(wgc::HSTRING* name) override {
    VWIN_METHOD(IGraphicsCaptureItem::get_DisplayName);
    if (name == nullptr) return E_POINTER;
    *name = nullptr;
    if (fault) return fault->hresult;
    Lock lock;
    std::wstring text;
    if (const auto window = desktop::FindWindow(lock, m_source->window)) text = window->title;
    if (const auto monitor = desktop::FindMonitor(lock, m_source->monitor)) text = monitor->device;
    *name = runtime_strings::Make(lock, text, "IGraphicsCaptureItem::get_DisplayName");
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_Size(wgc::SizeInt32* size) override {
    VWIN_METHOD(IGraphicsCaptureItem::get_Size);
    if (size == nullptr) return E_POINTER;
    *size = {};
    if (fault) return fault->hresult;
    Lock lock;
    m_size = ContentSize(lock, *m_source).value_or(m_size);  // the last one, once it is gone
    *size = {m_size.cx, m_size.cy};
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE add_Closed(wgc::IClosedHandler* handler,
                                       wgc::EventRegistrationToken* token) override {
    VWIN_METHOD(IGraphicsCaptureItem::add_Closed);
    if (handler == nullptr || token == nullptr) return E_POINTER;
    *token = {};
    if (fault) return fault->hresult;
    const auto kept = std::make_shared<const Handler>(handler);
    Lock lock;
    if (!kept->isAgile())
      ledger::Misuse(lock, "IGraphicsCaptureItem::add_Closed: a handler that isn't agile");
    token->value = ++Get(lock).lastToken;
    m_handlers.emplace(token->value, kept);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE remove_Closed(wgc::EventRegistrationToken token) override {
    VWIN_METHOD(IGraphicsCaptureItem::remove_Closed);
    if (fault) return fault->hresult;
    Handlers::node_type removed;  // goes after the lock
    Lock lock;
    removed = m_handlers.extract(token.value);
    return removed.empty() ? E_INVALIDARG : S_OK;
  }

  // Has the handlers called, unless it is closed already.
  void Close(Lock& lock) {
    if (std::exchange(m_source->closed, true) || m_handlers.empty() || !addRefIfAlive()) return;
    const State& state = Get(lock);
    auto* const delivery = new Delivery{
        this, m_handlers, state.holds ? std::optional(state.deliveries) : std::nullopt};
    std::uint32_t id = 0;
    void* const thread =
        threads::Start(lock, &deliver, delivery, id, "IGraphicsCaptureItem::add_Closed");
    if (thread) handles::Remove(lock, HandleKind::kThread, thread);
  }

 private:
  void onLastRelease(Lock& lock) override { std::erase(Get(lock).items, this); }
  void afterLastRelease() override {
    Handlers gone;
    Lock lock;
    gone.swap(m_handlers);
  }

  const std::shared_ptr<Source> m_source;
  SIZE m_size{};
  Handlers m_handlers;
};

class ItemFactory final : public ComImplementation<wgc::IGraphicsCaptureItemInterop> {
 public:
  ItemFactory() : ComImplementation("GraphicsCaptureItem's factory", "RoGetActivationFactory") {}

  HRESULT STDMETHODCALLTYPE CreateForWindow(HWND handle, REFIID iid, void** item) override {
    VWIN_METHOD(IGraphicsCaptureItemInterop::CreateForWindow);
    if (item == nullptr) return E_POINTER;
    *item = nullptr;
    if (fault) return fault->hresult;
    {
      Lock lock;
      const auto window = desktop::FindWindow(lock, handle);
      if (!window || window->parent != desktop::Get(lock).root.get() || !window->isVisible())
        return E_INVALIDARG;
    }
    return Item::Make<Item>(iid, item, Source{.window = handle},
                            "IGraphicsCaptureItemInterop::CreateForWindow");
  }
  HRESULT STDMETHODCALLTYPE CreateForMonitor(HMONITOR handle, REFIID iid, void** item) override {
    VWIN_METHOD(IGraphicsCaptureItemInterop::CreateForMonitor);
    if (item == nullptr) return E_POINTER;
    *item = nullptr;
    if (fault) return fault->hresult;
    {
      Lock lock;
      if (!desktop::FindMonitor(lock, handle)) return E_INVALIDARG;
    }
    return Item::Make<Item>(iid, item, Source{.monitor = handle},
                            "IGraphicsCaptureItemInterop::CreateForMonitor");
  }
};

template <typename Predicate>
void closeIf(Lock& lock, Predicate concerned) {
  for (Item* const item : Get(lock).items) {
    if (concerned(*item->source())) item->Close(lock);
  }
}

}  // namespace

HRESULT MakeItemFactory(REFIID iid, void** factory) {
  return ItemFactory::Make<ItemFactory>(iid, factory);
}

std::shared_ptr<const Source> SourceOf(wgc::IGraphicsCaptureItem* given, const char* call) {
  auto* const item = dynamic_cast<Item*>(given);
  if (item == nullptr) return nullptr;
  item->CheckUse(call);
  return item->source();
}

void CloseItemsOfNothing(Lock& lock) {
  closeIf(lock, [&](const Source& source) { return !exists(lock, source); });
}

void CloseItems(Lock& lock, HWND window, HMONITOR monitor) {
  closeIf(lock, [&](const Source& source) {
    return source.window == window && source.monitor == monitor;
  });
}

void HoldClosed(Lock& lock) { Get(lock).holds = true; }

void DeliverClosed(Lock& lock) {
  Get(lock).holds = false;
  ++Get(lock).deliveries;
  scheduler::Changed();
}

}  // namespace vwin::capture
