#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/error.h"
#include "desk/profile/pictures.h"

namespace {

/// A bitmap as the clipboard holds it, with the 14 bytes before it that make it a file.
std::string ToFile(const std::vector<std::uint8_t>& dib) {
  std::string file("BM\0\0\0\0\0\0\0\0\x36\0\0\0", 14);
  file.append(dib.begin(), dib.end());
  return file;
}

}  // namespace

/// A decoded picture has all its pixels or none, and survives being written and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const auto picture = corvessa::desk::DecodePicture({reinterpret_cast<const char*>(data), size});
    if (picture.pixels.empty()) return 0;
    const auto pixels =
        static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    if (picture.pixels.size() != pixels) std::abort();
    const auto again = corvessa::desk::DecodePicture(ToFile(corvessa::desk::ToDib(picture)));
    if (again.pixels != picture.pixels) std::abort();
  } catch (const corvessa::Error& error) {
    if (error.number != corvessa::kInvalidPicture) std::abort();
  }
  return 0;
}
