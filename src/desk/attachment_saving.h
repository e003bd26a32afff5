#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "commands/command_error.h"
#include "desk/outlook/item.h"

namespace corvessa::desk {

class DeskHost;
struct MessageReport;

/// What was not saved: a line each with the reason, and kRefused if something could not be
/// decrypted, kEnvironment if something could not be written.
struct SavingResult {
  std::vector<std::string> complaints;
  Outcome outcome = Outcome::kDone;

  void Complain(std::string complaint, Outcome because);
};

/// Saves the attachments of the open message into a folder, which is created if missing. An
/// existing file is never replaced: CommandError names it before anything is saved.
///
/// If the add-in shows its button for that, they are saved through its dialog, else as they are in
/// the open message. Attachments that cannot be decrypted or written are not saved. Fills
/// `saved_as` of the report's attachments and, for those saved through the dialog, their statuses.
SavingResult SaveAttachments(DeskHost& host, const InspectorWindowPtr& window,
                             const std::filesystem::path& folder, MessageReport& report);

}  // namespace corvessa::desk
