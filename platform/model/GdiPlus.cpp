#include "platform/model/GdiPlus.h"

#include <png.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <new>
#include <string>

#include "platform/model/Ledger.h"
#include "platform/model/Machine.h"

namespace vwin::gdiplus {
namespace {

using Gdiplus::ImageCodecInfo;

struct EncoderFacts {
  Encoder encoder;
  std::uint32_t encoderId;  // first fields of the ids; the rest is the same for all
  std::uint32_t formatId;
  const wchar_t* format;
  const wchar_t* extensions;
  const wchar_t* mimeType;
};

constexpr EncoderFacts kEncoders[] = {
    {Encoder::kBmp, 0x557cf400, 0xb96b3cab, L"BMP", L"*.BMP;*.DIB;*.RLE", L"image/bmp"},
    {Encoder::kJpeg, 0x557cf401, 0xb96b3cae, L"JPEG", L"*.JPG;*.JPEG;*.JPE;*.JFIF", L"image/jpeg"},
    {Encoder::kGif, 0x557cf402, 0xb96b3cb0, L"GIF", L"*.GIF", L"image/gif"},
    {Encoder::kTiff, 0x557cf405, 0xb96b3cb1, L"TIFF", L"*.TIF;*.TIFF", L"image/tiff"},
    {Encoder::kPng, 0x557cf406, 0xb96b3caf, L"PNG", L"*.PNG", L"image/png"},
};

// Name, description, extensions, MIME type.
std::array<std::wstring, 4> textsOf(const EncoderFacts& facts) {
  return {L"Built-in " + std::wstring(facts.format) + L" Codec", facts.format, facts.extensions,
          facts.mimeType};
}

constexpr DWORD kBuiltInBitmapEncoder = 0x00010005;  // encoder, supports bitmaps, built in

constexpr CLSID encoderId(const EncoderFacts& facts) {
  return {facts.encoderId, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
}
constexpr GUID formatId(const EncoderFacts& facts) {
  return {facts.formatId, 0x0728, 0x11d3, {0x9d, 0x7b, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
}

std::vector<EncoderFacts> encodersOf(Lock& lock) {
  std::vector<EncoderFacts> encoders(std::begin(kEncoders), std::end(kEncoders));
  if (!TheMachine(lock).pngEncoder) encoders.pop_back();
  return encoders;
}

ULONG_PTR lastToken = 0;  // guarded by the machine's lock

}  // namespace

ULONG_PTR Start(Lock& lock) {
  ledger::Take(lock, "GDI+ start", ++lastToken, "GdiplusStartup");
  return lastToken;
}

bool IsStarted(Lock&) { return lastToken != 0; }

Gdiplus::GpBitmap* AddBitmap(Lock& lock, int width, int height, std::ptrdiff_t stride,
                             bool hasAlpha, BYTE* pixels, const char* call) {
  const auto image = std::make_shared<GdiPlusImage>();
  image->width = width;
  image->height = height;
  image->stride = pixels ? stride : std::ptrdiff_t{width} * 4;
  image->hasAlpha = hasAlpha;
  image->pixels = pixels;
  if (!pixels) {
    image->own.resize(static_cast<std::size_t>(image->stride) * static_cast<std::size_t>(height));
    image->pixels = image->own.data();
  }
  // Opaque outside: the pointer is a handle like all others.
  return static_cast<Gdiplus::GpBitmap*>(handles::Add(lock, HandleKind::kImage, image, call));
}

std::shared_ptr<GdiPlusImage> FindImage(Lock& lock, const Gdiplus::GpImage* image) {
  return handles::Get<GdiPlusImage>(lock, HandleKind::kImage, image);
}

bool Dispose(Lock& lock, const Gdiplus::GpImage* image) {
  return handles::Remove(lock, HandleKind::kImage, image);
}

UINT EncoderCount(Lock& lock) { return static_cast<UINT>(encodersOf(lock).size()); }

std::optional<Encoder> FindEncoder(Lock& lock, REFCLSID id) {
  for (const EncoderFacts& facts : encodersOf(lock)) {
    if (encoderId(facts) == id) return facts.encoder;
  }
  return std::nullopt;
}

UINT EncodersSize(Lock& lock) {
  std::size_t size = sizeof(ImageCodecInfo) * EncoderCount(lock);
  for (const EncoderFacts& facts : encodersOf(lock)) {
    for (const std::wstring& text : textsOf(facts)) size += (text.size() + 1) * sizeof(WCHAR);
  }
  return static_cast<UINT>(size);
}

void WriteEncoders(Lock& lock, ImageCodecInfo* encoders) {
  auto* text = reinterpret_cast<WCHAR*>(encoders + EncoderCount(lock));
  const auto write = [&](const std::wstring& from) {
    const WCHAR* const begin = text;
    text = std::copy(from.begin(), from.end(), text);
    *text++ = L'\0';
    return begin;
  };
  for (const EncoderFacts& facts : encodersOf(lock)) {
    ImageCodecInfo* const info = new (encoders++) ImageCodecInfo{};
    info->Clsid = encoderId(facts);
    info->FormatID = formatId(facts);
    const auto texts = textsOf(facts);
    info->CodecName = write(texts[0]);
    info->FormatDescription = write(texts[1]);
    info->FilenameExtension = write(texts[2]);
    info->MimeType = write(texts[3]);
    info->Flags = kBuiltInBitmapEncoder;
    info->Version = 1;
  }
}

std::vector<std::uint8_t> PngFile(const GdiPlusImage& image) {
  const std::size_t channels = image.hasAlpha ? 4 : 3;
  std::vector<std::uint8_t> rows;
  rows.reserve(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) *
               channels);
  for (int y = 0; y < image.height; ++y) {
    const BYTE* const row = image.pixels + y * image.stride;
    for (int x = 0; x < image.width; ++x)
      std::copy_n(row + std::ptrdiff_t{x} * 4, channels, std::back_inserter(rows));
  }

  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(image.width);
  png.height = static_cast<png_uint_32>(image.height);
  png.format = image.hasAlpha ? PNG_FORMAT_BGRA : PNG_FORMAT_BGR;
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(png);
  std::vector<std::uint8_t> file(size);
  if (!png_image_write_to_memory(&png, file.data(), &size, 0, rows.data(), 0, nullptr)) return {};
  file.resize(size);
  return file;
}

}  // namespace vwin::gdiplus
