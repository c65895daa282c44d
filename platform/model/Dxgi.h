// DXGI's objects: factory, adapters, outputs (duplications are in Duplication.h). They
// hold nothing but their place in the machine; what they answer is read from its facts.
#pragma once

#include <dxgi1_2.h>

#include <cstddef>

#include "platform/model/ComObject.h"

namespace vwin::dxgi {

// `call` is the function that hands the object out, for the ledger.
HRESULT MakeFactory(REFIID iid, void** factory, const char* call);
// DXGI_ERROR_NOT_FOUND when the machine has no such adapter.
HRESULT MakeAdapter(std::size_t index, REFIID iid, void** adapter, const char* call);

}  // namespace vwin::dxgi
