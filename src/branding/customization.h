#pragma once

#include <string>
#include <string_view>

#include "platform/pictures.h"

namespace corvessa {

class Form;

/// The brand's icons, pictures and pages, and its names in every form. Nothing is cached. The names
/// themselves are in settings/edition.h.
namespace Customization {

/// The pictures throw Error (53 missing, 481 no picture).
platform::PicturePtr GetToolbarPicture();
platform::PicturePtr GetLogoPicture();
platform::PicturePtr GetSplashPicture();
/// The window icon, chosen by the long product name.
platform::PicturePtr GetAppIcon();

/// "<!-- SHORTNAME -->" and "<!-- LONGNAME -->" replaced.
std::string SubstituteNames(std::string_view text);
/// Brands a form and its controls; goes on with the next control after an error, which is traced.
void CustomizeForm(Form& form);

/// Pages opened for an address: its text is appended unchanged as "alias=".
void OpenIMAPInfoPage(std::string_view alias);
void OpenKeyGenPage(std::string_view alias);
void OpenPassphrasePage(std::string_view alias);
void OpenMainPage();
void OpenHelpPage();
void OpenHelpAddInstructionsPage();
void OpenToolsPage();
/// Opens an http or https address, one without a scheme as http, or "help:PAGE.html" as that page
/// in the folder "help" beside the add-in's file. Anything else, and an address with control
/// characters, is not opened; a box says so.
void OpenURL(std::string_view url);

/// The address with "?" or "&", "alias=" and the alias appended.
std::string AddressWithAlias(std::string_view url, std::string_view alias);

}  // namespace Customization
}  // namespace corvessa
