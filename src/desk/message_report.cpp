#include "desk/message_report.h"

#include <algorithm>

#include "desk/desk_host.h"
#include "message/attachment_node.h"

namespace corvessa::desk {
namespace {

std::uint64_t SizeOf(const AttachmentData& data) {
  return data.content ? data.content->Size() : 0;
}

std::vector<AttachmentReport> ReadAttachments(const ItemData& item,
                                              const std::vector<platform::AttachmentFacts>& facts) {
  std::vector<AttachmentReport> reports;
  // The facts are of all attachments or of none.
  const bool has_facts = facts.size() == item.attachments.size();
  for (std::size_t i = 0; i < item.attachments.size(); ++i) {
    const AttachmentData& data = *item.attachments[i];
    AttachmentReport report{data.display_name, SizeOf(data), {}, {}};
    if (has_facts) report.protection = facts[i].protection;
    reports.push_back(std::move(report));
  }
  return reports;
}

std::string SignText(const platform::Protection& protection) {
  std::string signers;
  for (const std::string& signer : protection.signers) {
    signers += (signers.empty() ? "" : ", ") + signer;
  }
  return SignStatusTextWithSigners(protection.sign_status, signers);
}

}  // namespace

bool MessageReport::Failed() const {
  if (protection && protection->Failed()) return true;
  return std::ranges::any_of(attachments, [](const auto& attachment) {
    return attachment.protection && attachment.protection->Failed();
  });
}

MessageReport ReadMessage(DeskHost& host, const ItemPtr& item) {
  using State = platform::MessageFacts::State;
  const platform::MessageFacts& facts = host.Facts(item).message;
  MessageReport report;
  if (facts.state == State::kRead) report.protection = facts.protection;
  report.left_to_button = facts.state == State::kLeftToButton;
  report.attachments_left_to_button = facts.attachments_left_to_button;
  report.shows_part = facts.shows_part;
  if (facts.state == State::kRead) report.facts = facts;
  report.attachments = ReadAttachments(item->Data(), facts.attachments);
  return report;
}

std::string OriginalText(const Item& item) {
  return *(item.Stored() ? *item.Stored() : item.Data()).body;
}

std::vector<std::string> StatusLines(const MessageReport& report) {
  if (!report.protection) return {};
  return {"Message " + DecryptStatusText(report.protection->decrypt_status),
          "Message " + SignText(*report.protection)};
}

std::string StatusText(const platform::Protection& protection) {
  return DecryptStatusText(protection.decrypt_status) + ", " + SignText(protection);
}

}  // namespace corvessa::desk
