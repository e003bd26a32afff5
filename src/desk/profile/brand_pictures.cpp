#include <string>

#include "desk/profile/pictures.h"
#include "platform/files.h"

namespace corvessa::desk {

void WriteBrandPictures(platform::Files& files, std::string_view product_folder) {
  const std::string folder = std::string(product_folder) + "\\Customization";
  if (!files.FolderExists(folder)) files.CreateFolder(folder);
  for (const BrandPicture& picture : BrandPictures()) {
    const std::string path = folder + "\\" + std::string(picture.name);
    if (!files.FileExists(path)) files.Write(path, picture.content);
  }
}

}  // namespace corvessa::desk
