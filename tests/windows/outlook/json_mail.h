#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "desk/outlook/outlook_model.h"

/// Mails and toolbars as the lines of JSON show them; ./outlook makes mail files of that.
namespace corvessa::testing {

using Json = nlohmann::json;

/// Empty for a member that is missing.
std::string String(const Json& from, const char* key);

/// The people under "to", "cc" and "bcc". Beside a name and an address they may have the "id" of
/// their entry in an address list and, when it differs, the address that the "entry" has.
std::vector<desk::RecipientData> RecipientsOf(const Json& mail);

/// A mail, whose attachments are read from their paths into the model's store.
desk::ItemData ItemDataOf(const Json& mail, desk::OutlookModel& model);

/// An item, whose attachments go into the folder as "0.attachment", "1.attachment"…, unless that is
/// empty.
Json MailOf(const desk::ItemData& data, const std::string& folder = {});

/// The bars of the add-in in a window.
Json BarsOf(const desk::Bars& bars);

}  // namespace corvessa::testing
