#include "desk/outlook/outlook_model.h"

#include <algorithm>
#include <utility>

namespace corvessa::desk {
namespace {

using State = InspectorWindow::State;

bool IsOpen(const InspectorWindow& window) {
  return window.CurrentState() == State::kShown || window.CurrentState() == State::kOpening;
}

/// Marks an item as being sent for the duration of a scope.
class SendingScope {
 public:
  SendingScope(std::vector<const Item*>& sending, const Item* item)
      : sending_(sending), item_(item) {
    sending_.push_back(item_);
  }
  ~SendingScope() { sending_.erase(std::ranges::find(sending_, item_)); }
  SendingScope(const SendingScope&) = delete;
  SendingScope& operator=(const SendingScope&) = delete;

 private:
  std::vector<const Item*>& sending_;
  const Item* item_;
};

}  // namespace

OutlookModel::OutlookModel(OutlookOptions options)
    : world_(std::make_shared<World>(std::move(options.version), std::move(options.map_path),
                                     options.clipboard)),
      directory_(std::make_shared<Directory>()),
      owner_(std::move(options.owner)),
      application_(std::make_shared<OutlookApplication>(world_)),
      redemption_(world_, directory_) {}

OutlookModel::~OutlookModel() = default;

ExplorerWindowPtr OutlookModel::AddExplorer() {
  const auto explorer = std::make_shared<ExplorerWindow>(world_);
  application_->explorer_windows.push_back(explorer);
  application_->ExplorersEvents().Raise([&](auto& sink) { sink.NewExplorer(explorer); });
  return explorer;
}

void OutlookModel::CloseExplorer(const ExplorerWindowPtr& explorer) {
  if (std::erase(application_->explorer_windows, explorer) == 0) return;
  const auto held = explorer;
  held->Events().Raise([](auto& sink) { sink.Close(); });
  held->Remove();
}

const std::vector<InspectorWindowPtr>& OutlookModel::Inspectors() const {
  return application_->inspector_windows;
}

const std::vector<ExplorerWindowPtr>& OutlookModel::Explorers() const {
  return application_->explorer_windows;
}

void OutlookModel::Activate(const InspectorWindowPtr& window) {
  auto& windows = application_->inspector_windows;
  const auto previous = application_->ActiveWindow();
  if (previous == window) return;
  window->SetState(State::kShown);
  if (std::erase(windows, window) > 0) windows.push_back(window);
  if (previous) previous->Events().Raise([](auto& sink) { sink.Deactivate(); });
  if (window->CurrentState() == State::kShown) {
    window->Events().Raise([](auto& sink) { sink.Activate(); });
  }
}

InspectorWindowPtr OutlookModel::Open(const ItemPtr& item) {
  const auto window = item->WindowOrNew();
  if (window->CurrentState() == State::kShown) Activate(window);
  if (window->CurrentState() != State::kUnopened) return window;

  window->SetState(State::kOpening);
  application_->inspector_windows.insert(application_->inspector_windows.begin(), window);
  const auto still_opening = [&] { return window->CurrentState() == State::kOpening; };
  application_->InspectorsEvents().Raise([&](auto& sink) { sink.NewInspector(window); });
  if (still_opening() && item->Stored()) item->Events().Raise([](auto& sink) { sink.Read(); });
  bool cancel = false;
  if (still_opening()) item->Events().Raise([&](auto& sink) { sink.Open(cancel); });
  if (still_opening() && cancel) {
    item->Revert();
    CloseWindow(window);
  }
  if (still_opening()) Activate(window);
  return window->CurrentState() == State::kClosed ? nullptr : window;
}

bool OutlookModel::Close(const InspectorWindowPtr& window, Closing closing) {
  const auto held = window;
  const ItemPtr item = held->ShownItem();
  const State before = held->CurrentState();
  if (!IsOpen(*held)) return false;
  if (std::ranges::find(sending_, item.get()) != sending_.end()) return false;

  held->SetState(State::kClosing);
  bool cancel = false;
  item->Events().Raise([&](auto& sink) { sink.Close(cancel); });
  if (cancel) {
    held->SetState(before);
    return false;
  }
  if (closing == Closing::kSave) {
    item->Save();
  } else {
    item->Revert();
    if (!item->Stored()) std::erase(items_, item);
  }
  held->SetState(before);
  CloseWindow(held);
  return true;
}

void OutlookModel::CloseWindow(const InspectorWindowPtr& window) {
  const bool was_shown = window->CurrentState() == State::kShown;
  const bool was_active = application_->ActiveWindow() == window;
  window->SetState(State::kClosing);
  std::erase(application_->inspector_windows, window);
  if (was_shown && was_active) window->Events().Raise([](auto& sink) { sink.Deactivate(); });
  window->Events().Raise([](auto& sink) { sink.Close(); });
  window->Remove();
  window->ShownItem()->ForgetWindow();
  const auto next = application_->ActiveWindow();
  if (was_active && next) next->Events().Raise([](auto& sink) { sink.Activate(); });
}

ItemPtr OutlookModel::NewMail() {
  ItemData data;
  data.folder = kDrafts;
  return AddItem(std::move(data));
}

ItemPtr OutlookModel::AddReceived(ItemData data) {
  if (data.folder.empty()) data.folder = kInbox;
  const auto item = AddItem(std::move(data));
  item->Save();
  return item;
}

ItemPtr OutlookModel::AddItem(ItemData data) {
  items_.push_back(std::make_shared<Item>(world_, std::move(data)));
  return items_.back();
}

std::vector<ItemPtr> OutlookModel::ItemsIn(std::string_view folder) const {
  std::vector<ItemPtr> found;
  for (const auto& item : items_) {
    if (item->Stored() && item->Stored()->folder == folder) found.push_back(item);
  }
  return found;
}

std::optional<ItemData> OutlookModel::Send(const ItemPtr& item) {
  const auto held = item;
  bool cancel = false;
  {
    const SendingScope sending(sending_, held.get());
    application_->Events().Raise([&](auto& sink) { sink.ItemSend(held, cancel); });
  }
  if (cancel) return std::nullopt;

  const ItemData travelling = held->Data();
  held->MoveTo(kOutbox);
  held->Save();
  if (const auto window = held->Window(); window && IsOpen(*window)) {
    const State before = window->CurrentState();
    window->SetState(State::kClosing);
    bool ignored = false;
    held->Events().Raise([&](auto& sink) { sink.Close(ignored); });
    held->Revert();
    window->SetState(before);
    CloseWindow(window);
  }
  if (deliver_) deliver_(travelling);
  sent_.push_back(travelling);
  held->BecomeSent(owner_);
  return travelling;
}

ItemPtr OutlookModel::Respond(const ItemPtr& original, ItemData data, ResponseEvent event) {
  const auto held = original;
  const auto response = std::make_shared<Item>(world_, std::move(data));
  bool cancel = false;
  held->Events().Raise([&](auto& sink) { (sink.*event)(response, cancel); });
  if (cancel) return nullptr;
  items_.push_back(response);
  return response;
}

ItemPtr OutlookModel::Reply(const ItemPtr& original) {
  return Respond(original, MakeReply(original->Data(), owner_, false),
                 &platform::MailItemEvents::Reply);
}

ItemPtr OutlookModel::ReplyAll(const ItemPtr& original) {
  return Respond(original, MakeReply(original->Data(), owner_, true),
                 &platform::MailItemEvents::ReplyAll);
}

ItemPtr OutlookModel::Forward(const ItemPtr& original) {
  return Respond(original, MakeForward(original->Data()), &platform::MailItemEvents::Forward);
}

void OutlookModel::ReadAttachment(const ItemPtr& item, std::int32_t index) {
  const auto held = item;
  const auto attachment = MakeAttachment(held, index);
  held->Events().Raise([&](auto& sink) { sink.AttachmentRead(attachment); });
}

bool OutlookModel::Click(const Bars& bars, std::string_view caption) {
  const auto button = bars.FindButton(caption);
  return button && button->Click();
}

}  // namespace corvessa::desk
