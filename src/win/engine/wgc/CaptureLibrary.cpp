#include "win/engine/wgc/CaptureLibrary.h"

#include <cwchar>

#include "win/util/Utils.h"

namespace qx::CaptureLibrary {
namespace {

template <typename Address>
Address Find(HMODULE library, const char* name) {
  return library ? FindFunction<Address>(library, name) : nullptr;
}

HMODULE Load(const wchar_t* name) {
  return LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}

HMODULE Combase() {
  static const HMODULE library = Load(L"combase.dll");
  return library;
}

HMODULE Direct3D11() {
  static const HMODULE library = Load(L"d3d11.dll");
  return library;
}

auto FindGetActivationFactory() {
  static const auto function =
      Find<wgc::RoGetActivationFactory>(Combase(), "RoGetActivationFactory");
  return function;
}

auto FindCreateString() {
  static const auto function = Find<wgc::WindowsCreateString>(Combase(), "WindowsCreateString");
  return function;
}

auto FindDeleteString() {
  static const auto function = Find<wgc::WindowsDeleteString>(Combase(), "WindowsDeleteString");
  return function;
}

auto FindCreateDevice() {
  static const auto function = Find<wgc::CreateDirect3D11DeviceFromDXGIDevice>(
      Direct3D11(), "CreateDirect3D11DeviceFromDXGIDevice");
  return function;
}

HRESULT RoGetActivationFactory(wgc::HSTRING className, REFIID iid, void** factory) {
  const auto function = FindGetActivationFactory();
  return function ? function(className, iid, factory) : E_FAIL;
}

HRESULT WindowsCreateString(const wchar_t* text, UINT32 length, wgc::HSTRING* string) {
  const auto function = FindCreateString();
  return function ? function(text, length, string) : E_FAIL;
}

HRESULT WindowsDeleteString(wgc::HSTRING string) {
  const auto function = FindDeleteString();
  return function ? function(string) : E_FAIL;
}

}  // namespace

bool LoadCaptureFunctions() {
  return FindGetActivationFactory() && FindCreateString() && FindDeleteString() &&
         FindCreateDevice();
}

HRESULT GetActivationFactory(const wchar_t* className, REFIID iid, void** factory) {
  wgc::HSTRING name = nullptr;
  HRESULT hr = WindowsCreateString(className, static_cast<UINT32>(std::wcslen(className)), &name);
  if (FAILED(hr)) {
    return hr;
  }
  hr = RoGetActivationFactory(name, iid, factory);
  static_cast<void>(WindowsDeleteString(name));
  return hr;
}

HRESULT CreateDirect3D11DeviceFromDXGIDevice(IDXGIDevice* device,
                                             wgc::IInspectable** direct3dDevice) {
  const auto function = FindCreateDevice();
  return function ? function(device, direct3dDevice) : E_FAIL;
}

}  // namespace qx::CaptureLibrary
