#include "win/source/PngImage.h"

#include <objbase.h>

#include <algorithm>

#include "win/util/ComPtr.h"

namespace qx::WindowsUtil {

using namespace Gdiplus::DllExports;

bool FindImageEncoder(const std::wstring& mimeType, CLSID& clsid) {
  UINT count = 0;
  UINT size = 0;
  if (GdipGetImageEncodersSize(&count, &size) != Gdiplus::Ok || size == 0) {
    return false;
  }
  // The texts of all records lie behind the last one, within `size`.
  std::vector<Gdiplus::ImageCodecInfo> encoders(size / sizeof(Gdiplus::ImageCodecInfo) + 1);
  if (GdipGetImageEncoders(count, size, encoders.data()) != Gdiplus::Ok) {
    return false;
  }
  const auto end = encoders.begin() + count;
  const auto found = std::find_if(encoders.begin(), end, [&](const auto& encoder) {
    return encoder.MimeType && mimeType == encoder.MimeType;
  });
  if (found == end) {
    return false;
  }
  clsid = found->Clsid;
  return true;
}

bool EncodeImage(Gdiplus::GpImage* image, const CLSID& encoder, std::vector<std::uint8_t>& bytes) {
  ComPtr<IStream> stream;
  if (FAILED(CreateStreamOnHGlobal(nullptr, TRUE, stream.Put()))) {
    return false;
  }
  // What a save that failed has written so far is no file.
  if (GdipSaveImageToStream(image, stream.Get(), &encoder, nullptr) != Gdiplus::Ok) {
    return false;
  }
  HGLOBAL memory = nullptr;  // the stream's
  if (FAILED(GetHGlobalFromStream(stream.Get(), &memory))) {
    return false;
  }
  const std::size_t size = GlobalSize(memory);
  if (size == 0) {
    return false;
  }
  const LockedMemory locked(GlobalLock(memory), {memory});
  if (!locked) {
    return false;
  }
  const auto* const first = static_cast<const std::uint8_t*>(locked.Get());
  bytes.assign(first, first + size);
  return true;
}

}  // namespace qx::WindowsUtil
