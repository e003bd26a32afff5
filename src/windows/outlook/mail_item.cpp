#include <map>

#include "base/error.h"
#include "windows/com/event_sink.h"
#include "windows/com/variant.h"
#include "windows/outlook/event_ids.h"
#include "windows/outlook/outlook.h"

namespace corvessa::windows {
namespace {

using com::Missing;
using com::Variant;

/// olByValue: a copy of the file.
constexpr std::int32_t kByValue = 1;
/// Outlook's date for "none": 1 January 4501.
constexpr double kNoDate = 949998;

class LateBoundAttachment final : public LateBound<platform::Attachment> {
 public:
  using LateBound::LateBound;

  std::string FileName() override { return Text("FileName"); }
  std::string DisplayName() override { return Text("DisplayName"); }
  void SaveAsFile(std::string_view path) override {
    object_.Call("SaveAsFile", {Variant(path).Get()});
  }
  std::string ParentTypeName() override {
    return com::TypeNameOf(*object_.GetObjectProperty("Parent").Get());
  }
};

class LateBoundAttachments final : public LateBound<platform::Attachments> {
 public:
  using LateBound::LateBound;

  std::int32_t Count() override { return Number("Count"); }
  platform::AttachmentPtr Item(std::int32_t index) override {
    return std::make_shared<LateBoundAttachment>(ItemOf(object_, index));
  }
  void Add(std::string_view path, std::string_view display_name) override {
    // Without a position it goes to the end.
    object_.Call("Add", {Variant(path).Get(), Variant(kByValue).Get(), Missing(),
                         Variant(display_name).Get()});
  }
  void Remove(std::int32_t index) override { object_.Call("Remove", {Variant(index).Get()}); }
};

/// Items are of several classes, each with numbers of its own for the members.
com::MemberIds& IdsOfType(const std::string& type) {
  static std::map<std::string, com::MemberIds> ids;
  return ids[type];
}

class LateBoundItem final : public LateBound<platform::MailItem> {
 public:
  LateBoundItem(DispatchPtr item, std::string type,
                const std::weak_ptr<platform::Inspector>& window)
      : LateBound(std::move(item), IdsOfType(type)), type_(std::move(type)), window_(window) {}

  std::string TypeName() override { return type_; }
  /// The type says it of a mail, which is asked for at every opening and sending.
  std::int32_t Class() override {
    return type_ == platform::kMailItemType ? platform::kMailItemClass : Number("Class");
  }
  platform::SharedText Body() override { return std::make_shared<const std::string>(Text("Body")); }
  void SetBody(std::string_view text) override { Put("Body", text); }
  platform::SharedText HTMLBody() override {
    return std::make_shared<const std::string>(Text("HTMLBody"));
  }
  void SetHTMLBody(std::string_view html) override { Put("HTMLBody", html); }
  void SetBodyFormat(std::int32_t format) override { Put("BodyFormat", format); }
  /// Outlook 2002 and later; the text of older ones tells no more than their own code page.
  std::string BodyCharset() override {
    try {
      return "cp" + std::to_string(Number("InternetCodepage"));
    } catch (const Error&) {
      return {};
    }
  }
  std::string Subject() override { return Text("Subject"); }
  void SetSubject(std::string_view subject) override { Put("Subject", subject); }
  std::string EntryID() override { return Text("EntryID"); }
  std::string ReceivedTime() override {
    const Variant time = object_.GetProperty("ReceivedTime");
    const bool has_none = time.Get().vt == VT_DATE && time.Get().date >= kNoDate;
    return has_none ? std::string() : time.Text();
  }
  std::string ParentName() override {
    const DispatchPtr parent = object_.GetProperty("Parent").Object();
    return parent ? com::Dispatch(parent).GetProperty("Name").Text() : std::string();
  }
  platform::InspectorPtr GetInspector() override {
    const auto window = window_.lock();
    return window ? window : WrapInspector(object_.GetObjectProperty("GetInspector"));
  }
  platform::AttachmentsPtr Attachments() override {
    return std::make_shared<LateBoundAttachments>(object_.GetObjectProperty("Attachments"));
  }
  platform::SharedText Source() override { return nullptr; }
  platform::Subscription Subscribe(platform::MailItemEvents& sink) override {
    return com::Subscribe(object_.Get(), kItemEvents, [&sink](DISPID event, auto& arguments) {
      RaiseEvent(sink, event, arguments);
    });
  }

 private:
  using Events = platform::MailItemEvents;

  static void RaiseEvent(Events& sink, DISPID event, com::EventArguments& arguments) {
    switch (event) {
      case kItemRead:
        return sink.Read();
      case kItemOpen:
        return RaiseCancellable(arguments, 0, [&](bool& cancel) { sink.Open(cancel); });
      case kItemClose:
        return RaiseCancellable(arguments, 0, [&](bool& cancel) { sink.Close(cancel); });
      case kItemPropertyChange:
        return sink.PropertyChange(arguments.Text(0));
      case kItemAttachmentRead:
        return sink.AttachmentRead(std::make_shared<LateBoundAttachment>(arguments.Object(0)));
      case kItemReply:
        return RaiseResponse(sink, &Events::Reply, arguments);
      case kItemReplyAll:
        return RaiseResponse(sink, &Events::ReplyAll, arguments);
      case kItemForward:
        return RaiseResponse(sink, &Events::Forward, arguments);
      default:
        return;
    }
  }
  template <typename Raise>
  static void RaiseCancellable(com::EventArguments& arguments, std::size_t place, Raise raise) {
    bool cancel = arguments.Flag(place);
    raise(cancel);
    arguments.SetFlag(place, cancel);
  }
  /// A response that cannot be looked at cannot be marked as one to an encrypted message.
  static void RaiseResponse(Events& sink,
                            void (Events::*event)(const platform::MailItemPtr&, bool&),
                            com::EventArguments& arguments) {
    platform::MailItemPtr response;
    try {
      response = WrapItem(arguments.Object(0));
    } catch (...) {
      arguments.SetFlag(1, true);
      throw;
    }
    RaiseCancellable(arguments, 1, [&](bool& cancel) { (sink.*event)(response, cancel); });
  }

  std::string type_;
  /// Gone when the window is.
  std::weak_ptr<platform::Inspector> window_;
};

}  // namespace

platform::MailItemPtr WrapItem(DispatchPtr item, const std::weak_ptr<platform::Inspector>& window) {
  const DispatchPtr object = com::Required(std::move(item));
  return std::make_shared<LateBoundItem>(object, com::TypeNameOf(*object.Get()), window);
}

DispatchPtr ObjectOf(const platform::MailItemPtr& item) {
  const auto* const late_bound = dynamic_cast<const LateBoundItem*>(item.get());
  if (!late_bound) Raise(kInvalidArgument);
  return late_bound->Object().Get();
}

}  // namespace corvessa::windows
