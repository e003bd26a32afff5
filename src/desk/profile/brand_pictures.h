#pragma once

#include <string_view>

namespace corvessa::platform {
class Files;
}

namespace corvessa::desk {

/// Writes the brand's pictures that are missing into the folder "Customization" below the add-in's
/// own folder, which has to be there: the toolbar icon, the logo and the splash picture.
void WriteBrandPictures(platform::Files& files, std::string_view product_folder);

}  // namespace corvessa::desk
