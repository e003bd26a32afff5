#pragma once

#include <span>
#include <string_view>

namespace corvessa::platform {
class Files;
}

namespace corvessa::desk {

/// A file of packaging/brand/Customization. The build puts them into the program, so that the desk
/// runs from anywhere and needs no installation.
struct BrandPicture {
  std::string_view name;
  std::string_view content;
};

std::span<const BrandPicture> BrandPictures();

/// Writes the brand pictures that are missing into the folder "Customization" below the add-in's
/// folder, which must exist. A user's own picture stays.
void WriteBrandPictures(platform::Files& files, std::string_view product_folder);

}  // namespace corvessa::desk
