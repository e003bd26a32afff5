#include "desk/outlook/item.h"

#include <utility>

#include "base/error.h"
#include "base/html_text.h"

namespace corvessa::desk {
namespace {

platform::SharedText Share(std::string_view text) {
  return text.empty() ? EmptyText() : std::make_shared<const std::string>(text);
}

}  // namespace

InspectorWindow::InspectorWindow(WorldPtr world, std::shared_ptr<Item> item)
    : Connected(std::move(world)),
      item_(std::move(item)),
      word_mail_(world_->word_mail),
      bars_(std::make_shared<desk::Bars>(world_, desk::Bars::Window::kInspector)) {}

void InspectorWindow::Remove() {
  state_ = State::kClosed;
  Disconnect();
  bars_->Remove();
}

platform::MailItemPtr InspectorWindow::CurrentItem() {
  RequireConnected();
  return item_;
}

platform::CommandBarsPtr InspectorWindow::CommandBars() {
  RequireConnected();
  return bars_;
}

bool InspectorWindow::IsWordMail() {
  RequireConnected();
  return word_mail_;
}

platform::Subscription InspectorWindow::Subscribe(platform::InspectorEvents& sink) {
  RequireConnected();
  return sinks_.Add(sink);
}

Item::Item(WorldPtr world, ItemData data) : world_(std::move(world)), live_(std::move(data)) {
  if (!live_.html->empty() && live_.body->empty()) live_.body = Share(HtmlToText(*live_.html));
}

void Item::Changed(std::string_view property) {
  const auto held = shared_from_this();
  sinks_.Raise([&](auto& sink) { sink.PropertyChange(property); });
}

void Item::EditBody(std::string_view text) {
  // Writing the same text back is common, and the text can be long.
  if (text != *live_.body) live_.body = Share(text);
  live_.html = EmptyText();
  Changed("Body");
}

void Item::EditHTMLBody(std::string_view html) {
  live_.html = Share(html);
  live_.body = Share(HtmlToText(*live_.html));
  Changed("HTMLBody");
}

void Item::EditSubject(std::string_view subject) {
  live_.subject = subject;
  Changed("Subject");
}

void Item::EditRecipients(std::vector<RecipientData> recipients) {
  live_.recipients = std::move(recipients);
  Changed("To");
}

void Item::AddAttachment(AttachmentData attachment) {
  live_.attachments.push_back(std::make_shared<const AttachmentData>(std::move(attachment)));
}

void Item::RemoveAttachment(std::size_t position) {
  live_.attachments.erase(live_.attachments.begin() + static_cast<std::ptrdiff_t>(position));
}

void Item::SetProperty(std::string_view guid, std::string_view name, std::string_view value) {
  live_.properties[{std::string(guid), std::string(name)}] = value;
}

void Item::MoveTo(std::string_view folder) {
  live_.folder = folder;
  if (stored_) stored_->folder = folder;
}

void Item::Save() {
  if (live_.entry_id.empty()) live_.entry_id = world_->NextEntryId();
  stored_ = live_;
}

void Item::SaveByAddIn() {
  ++saves_by_add_in_;
  Save();
}

void Item::Revert() {
  if (stored_) live_ = *stored_;
}

void Item::BecomeSent(const Person& sender) {
  live_.sender = sender;
  live_.folder = kSentItems;
  Save();
}

std::shared_ptr<InspectorWindow> Item::WindowOrNew() {
  auto window = Window();
  if (!window) {
    window = std::make_shared<InspectorWindow>(world_, shared_from_this());
    window_ = window;
  }
  return window;
}

void Item::CheckIsMail() const {
  if (live_.item_class != platform::kMailItemClass) RaiseNotSupported();
}

std::string Item::TypeName() {
  return TypeNameOf(live_.item_class);
}

std::int32_t Item::Class() {
  return live_.item_class;
}

platform::SharedText Item::Body() {
  return live_.body;
}

void Item::SetBody(std::string_view text) {
  EditBody(text);
}

platform::SharedText Item::HTMLBody() {
  CheckIsMail();
  return live_.html;
}

void Item::SetHTMLBody(std::string_view html) {
  CheckIsMail();
  EditHTMLBody(html);
}

void Item::SetBodyFormat(std::int32_t format) {
  CheckIsMail();
  if (world_->MajorVersion() < 10) RaiseNotSupported();
  if (format != platform::kBodyFormatPlain) Raise(kInvalidArgument);
  live_.html = EmptyText();
  Changed("BodyFormat");
}

std::string Item::Subject() {
  return live_.subject;
}

void Item::SetSubject(std::string_view subject) {
  EditSubject(subject);
}

std::string Item::EntryID() {
  return live_.entry_id;
}

std::string Item::ReceivedTime() {
  CheckIsMail();
  return live_.received_time;
}

std::string Item::ParentName() {
  return live_.folder;
}

platform::InspectorPtr Item::GetInspector() {
  return WindowOrNew();
}

platform::AttachmentsPtr Item::Attachments() {
  return MakeAttachments(shared_from_this());
}

platform::SharedText Item::Source() {
  return live_.source ? Share(live_.source->Bytes()) : nullptr;
}

platform::Subscription Item::Subscribe(platform::MailItemEvents& sink) {
  return sinks_.Add(sink);
}

}  // namespace corvessa::desk
