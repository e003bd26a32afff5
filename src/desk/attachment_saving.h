#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "desk/command_error.h"
#include "desk/outlook/item.h"

namespace corvessa::desk {

class DeskHost;
struct MessageReport;

/// The button that attachments may be left to.
inline constexpr std::string_view kSaveAttachmentsButton = "Decrypt/verify attachment(s)";

/// What was not saved and why, a line each, and how bad that is: kRefused where something could not
/// be decrypted, kEnvironment where something could not be written.
struct SavingResult {
  std::vector<std::string> complaints;
  Outcome outcome = Outcome::kDone;

  void Complain(std::string complaint, Outcome because);
};

/// Saves the attachments of the open message into a folder, which is made when it is missing. An
/// existing file is never replaced: CommandError names it before anything is saved.
///
/// Where the add-in leaves attachments to its button, the button is clicked and they are saved
/// through its dialog; else they are saved as they stand in the open message. What could not be
/// decrypted, or written, is not saved. Fills `saved_as` of the report's attachments, and,
/// of those saved through the dialog, what it found.
SavingResult SaveAttachments(DeskHost& host, const InspectorWindowPtr& window,
                             const std::filesystem::path& folder, MessageReport& report);

}  // namespace corvessa::desk
