#include "desk/message_report.h"

#include <algorithm>
#include <memory>

#include "base/text.h"
#include "ui/controls.h"
#include "ui/form.h"
#include "ui/list_controls.h"

namespace corvessa::desk {
namespace {

constexpr std::string_view kStatusWindow = "frmMessageStatus";
constexpr std::string_view kStatusBarEnd = " Status";

constexpr std::string_view kEncrypted = "is encrypted";
constexpr std::string_view kNotEncrypted = "is not encrypted";
constexpr std::string_view kDecryptionFailed = "failed decryption (";
constexpr std::string_view kSigned = "is digitally signed";
constexpr std::string_view kSignedBy = "is digitally signed by ";
constexpr std::string_view kInvalid = "has an invalid digital signature";
constexpr std::string_view kNotSigned = "is not digitally signed";

/// The number in the parentheses that end the text of a failure; never one that stands for success.
std::int32_t CodeOf(std::string_view text) {
  const auto start = text.rfind('(');
  if (start == std::string_view::npos) return kUnknownStatus;
  const std::int32_t code = ClampToInt32(LeadingNumber(text.substr(start + 1)));
  return code >= 0 && code <= sign_status::kNone ? kUnknownStatus : code;
}

/// What the texts "is encrypted" and the like stand for; any other text is a failure.
std::int32_t DecryptStatusFromText(std::string_view text) {
  if (text == kNotEncrypted) return decrypt_status::kNotEncrypted;
  if (text == kEncrypted) return decrypt_status::kDone;
  return CodeOf(text);
}

std::int32_t SignStatusFromText(std::string_view text, std::vector<std::string>& signers) {
  if (text.starts_with(kSignedBy)) {
    signers = Split(text.substr(kSignedBy.size()), ", ");
    return sign_status::kGood;
  }
  if (text == kNotSigned) return sign_status::kNone;
  if (text == kSigned) return sign_status::kGood;
  if (text == kInvalid) return sign_status::kBad;
  return CodeOf(text);
}

/// Where the status text begins in a row that a name stands before; a name can hold such words too,
/// so the last one counts.
std::size_t StartOfDecryptText(std::string_view row) {
  if (row.ends_with(kEncrypted)) return row.size() - kEncrypted.size();
  if (row.ends_with(kNotEncrypted)) return row.size() - kNotEncrypted.size();
  return std::min(row.rfind(kDecryptionFailed), row.size());
}

/// The status text of a button of the status bar.
std::string_view OfMessage(std::string_view tooltip) {
  constexpr std::string_view kMessage = "Message ";
  return tooltip.starts_with(kMessage) ? tooltip.substr(kMessage.size()) : tooltip;
}

BarPtr FindStatusBar(const Bars& bars) {
  for (const BarPtr& bar : bars.All()) {
    if (bar->IsTemporary() && bar->IsVisible() && bar->NameText().ends_with(kStatusBarEnd)) {
      return bar;
    }
  }
  return nullptr;
}

/// The attachments as the status window lists them, in its order.
std::vector<AttachmentReport> ListedAttachments(const Form& window) {
  std::vector<AttachmentReport> reports;
  const auto* encryption = window.Find<ListView>("lvwEncryption");
  const auto* signing = window.Find<ListView>("lvwSigning");
  if (!encryption || !signing) return reports;
  for (int i = 0; i < std::min(encryption->RowCount(), signing->RowCount()); ++i) {
    const std::string& row = encryption->Row(i);
    const std::size_t start = StartOfDecryptText(row);
    AttachmentReport report;
    report.decrypt_text = row.substr(start);
    report.sign_text = signing->Row(i).substr(std::min(start, signing->Row(i).size()));
    report.protection.emplace();
    report.protection->decrypt_status = DecryptStatusFromText(report.decrypt_text);
    report.protection->sign_status =
        SignStatusFromText(report.sign_text, report.protection->signers);
    reports.push_back(std::move(report));
  }
  return reports;
}

std::uint64_t SizeOf(const AttachmentData& data) {
  std::uint64_t size = 0;
  if (data.content) size = data.content->Size();
  return size;
}

/// The open item's attachments; the status window lists all of them in the same order, or none.
std::vector<AttachmentReport> AttachmentsOf(const Item& item,
                                            std::vector<AttachmentReport> listed) {
  const auto& attachments = item.Data().attachments;
  if (listed.size() != attachments.size()) listed.assign(attachments.size(), {});
  for (std::size_t i = 0; i < attachments.size(); ++i) {
    listed[i].name = attachments[i]->display_name;
    listed[i].size = SizeOf(*attachments[i]);
  }
  return listed;
}

/// Where the message itself could not be decrypted its attachments were not looked at, whatever the
/// list says of them.
void ForgetUntried(std::vector<AttachmentReport>& attachments) {
  const bool tried = std::ranges::any_of(attachments, [](const auto& attachment) {
    return attachment.protection &&
           attachment.protection->decrypt_status != decrypt_status::kNotEncrypted;
  });
  for (AttachmentReport& attachment : attachments) {
    if (!tried) attachment.protection.reset();
  }
}

/// Runs `read` with the status window that the button opens; the window is closed again unless it
/// was open before.
template <typename Read>
void WithStatusWindow(const ButtonPtr& button, Read read) {
  const bool was_open = FindVisibleForm(kStatusWindow) != nullptr;
  if (!button->Click()) return;
  const FormPtr window = FindVisibleForm(kStatusWindow);
  if (!window) return;
  read(*window);
  if (!was_open) window->PressCloseBox();
}

}  // namespace

bool MessageReport::Failed() const {
  if (protection && protection->Failed()) return true;
  return std::ranges::any_of(attachments, [](const auto& attachment) {
    return attachment.protection && attachment.protection->Failed();
  });
}

MessageReport ReadMessage(const InspectorWindowPtr& window) {
  MessageReport report;
  report.left_to_button = window->Bars().FindButton(kDecryptNowButton) != nullptr;
  std::vector<AttachmentReport> listed;
  if (const BarPtr bar = FindStatusBar(window->Bars()); bar && bar->Buttons().size() >= 2) {
    const auto buttons = bar->Buttons();
    for (std::size_t i = 0; i < 2; ++i) {
      report.status_lines.push_back(buttons[i]->Properties().tooltip);
    }
    report.protection.emplace();
    report.protection->decrypt_status = DecryptStatusFromText(OfMessage(report.status_lines[0]));
    report.protection->sign_status =
        SignStatusFromText(OfMessage(report.status_lines[1]), report.protection->signers);
    if (!window->ShownItem()->Data().attachments.empty()) {
      WithStatusWindow(buttons[0], [&](const Form& form) { listed = ListedAttachments(form); });
    }
  }
  report.attachments = AttachmentsOf(*window->ShownItem(), std::move(listed));
  if (report.protection && report.protection->DecryptionFailed()) ForgetUntried(report.attachments);
  return report;
}

std::optional<std::string> ReadOriginal(const InspectorWindowPtr& window) {
  std::optional<std::string> original;
  const auto button = window->Bars().FindButton("Show original message");
  if (!button) return *window->ShownItem()->Data().body;
  WithStatusWindow(button, [&](const Form& form) {
    if (const auto* box = form.Find<TextBox>("txtOriginalMessage")) original = box->Text();
  });
  return original;
}

}  // namespace corvessa::desk
