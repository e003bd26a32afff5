#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/subscription.h"

/// The Outlook object model, as far as the add-in uses it. Objects are reference-counted; the same
/// Outlook object need not be the same C++ object. Collections count from 1, as Outlook's do. Every
/// call may throw Error with the call's HRESULT. Text is UTF-8 with CR LF line ends.
namespace corvessa::platform {

class Application;
class Explorers;
class Explorer;
class Inspectors;
class Inspector;
class MailItem;
class Attachments;
class Attachment;
class CommandBars;

using ApplicationPtr = std::shared_ptr<Application>;
using ExplorersPtr = std::shared_ptr<Explorers>;
using ExplorerPtr = std::shared_ptr<Explorer>;
using InspectorsPtr = std::shared_ptr<Inspectors>;
using InspectorPtr = std::shared_ptr<Inspector>;
using MailItemPtr = std::shared_ptr<MailItem>;
using AttachmentsPtr = std::shared_ptr<Attachments>;
using AttachmentPtr = std::shared_ptr<Attachment>;
using CommandBarsPtr = std::shared_ptr<CommandBars>;

/// Immutable text that is shared rather than copied, because a body can be many megabytes and goes
/// through several hands. Never null.
using SharedText = std::shared_ptr<const std::string>;

/// olMail, the Class of a mail item.
inline constexpr std::int32_t kMailItemClass = 43;
/// Its type name.
inline constexpr std::string_view kMailItemType = "MailItem";
/// olFormatPlain of BodyFormat.
inline constexpr std::int32_t kBodyFormatPlain = 1;

class ApplicationEvents {
 public:
  virtual ~ApplicationEvents() = default;
  /// Raised before an item is sent; setting `cancel` keeps it.
  virtual void ItemSend(const MailItemPtr& item, bool& cancel) = 0;
};

class Application {
 public:
  virtual ~Application() = default;
  /// Such as "9.0.0.2711".
  virtual std::string Version() = 0;
  virtual ExplorersPtr Explorers() = 0;
  virtual InspectorsPtr Inspectors() = 0;
  /// Null when there is none.
  virtual ExplorerPtr ActiveExplorer() = 0;
  virtual InspectorPtr ActiveInspector() = 0;
  virtual Subscription Subscribe(ApplicationEvents& sink) = 0;
};

class ExplorersEvents {
 public:
  virtual ~ExplorersEvents() = default;
  virtual void NewExplorer(const ExplorerPtr& explorer) = 0;
};

class Explorers {
 public:
  virtual ~Explorers() = default;
  virtual Subscription Subscribe(ExplorersEvents& sink) = 0;
};

class ExplorerEvents {
 public:
  virtual ~ExplorerEvents() = default;
  virtual void Close() = 0;
};

class Explorer {
 public:
  virtual ~Explorer() = default;
  virtual CommandBarsPtr CommandBars() = 0;
  virtual Subscription Subscribe(ExplorerEvents& sink) = 0;
};

class InspectorsEvents {
 public:
  virtual ~InspectorsEvents() = default;
  virtual void NewInspector(const InspectorPtr& inspector) = 0;
};

class Inspectors {
 public:
  virtual ~Inspectors() = default;
  virtual Subscription Subscribe(InspectorsEvents& sink) = 0;
};

class InspectorEvents {
 public:
  virtual ~InspectorEvents() = default;
  virtual void Activate() = 0;
  virtual void Deactivate() = 0;
  virtual void Close() = 0;
};

class Inspector {
 public:
  virtual ~Inspector() = default;
  virtual MailItemPtr CurrentItem() = 0;
  virtual CommandBarsPtr CommandBars() = 0;
  /// Word is the editor of the message.
  virtual bool IsWordMail() = 0;
  virtual Subscription Subscribe(InspectorEvents& sink) = 0;
};

class MailItemEvents {
 public:
  virtual ~MailItemEvents() = default;
  virtual void AttachmentRead(const AttachmentPtr& attachment) = 0;
  virtual void Open(bool& cancel) = 0;
  virtual void Read() = 0;
  virtual void PropertyChange(std::string_view name) = 0;
  virtual void Close(bool& cancel) = 0;
  virtual void Reply(const MailItemPtr& response, bool& cancel) = 0;
  virtual void ReplyAll(const MailItemPtr& response, bool& cancel) = 0;
  virtual void Forward(const MailItemPtr& forward, bool& cancel) = 0;
};

/// Any Outlook item; only one of class 43 is a mail and has all of these members.
class MailItem {
 public:
  virtual ~MailItem() = default;
  /// Such as "MailItem", "ContactItem".
  virtual std::string TypeName() = 0;
  virtual std::int32_t Class() = 0;
  virtual SharedText Body() = 0;
  /// Makes the item plain text: its HTML body goes.
  virtual void SetBody(std::string_view text) = 0;
  /// Empty for a plain-text item.
  virtual SharedText HTMLBody() = 0;
  virtual void SetHTMLBody(std::string_view html) = 0;
  /// Outlook 2002 and later; an error before.
  virtual void SetBodyFormat(std::int32_t format) = 0;
  /// The charset that the mail declares for its text, by its name in MIME or as "cp1252"; empty
  /// when it is unknown.
  virtual std::string BodyCharset() = 0;
  virtual std::string Subject() = 0;
  virtual void SetSubject(std::string_view subject) = 0;
  virtual std::string EntryID() = 0;
  /// The received time as the system's default date-and-time text; empty for an unsent item.
  virtual std::string ReceivedTime() = 0;
  /// The name of the folder that holds the item, such as "Outbox"; empty when it is in none.
  virtual std::string ParentName() = 0;
  /// The window that shows the item; made, not shown, when there is none.
  virtual InspectorPtr GetInspector() = 0;
  virtual AttachmentsPtr Attachments() = 0;
  /// The mail as it was received, byte for byte; null where that is not kept, as in Outlook.
  virtual SharedText Source() = 0;
  virtual Subscription Subscribe(MailItemEvents& sink) = 0;
};

class Attachments {
 public:
  virtual ~Attachments() = default;
  virtual std::int32_t Count() = 0;
  virtual AttachmentPtr Item(std::int32_t index) = 0;
  /// Attaches a copy of the file at a Windows path, at the end.
  virtual void Add(std::string_view path, std::string_view display_name) = 0;
  virtual void Remove(std::int32_t index) = 0;
};

class Attachment {
 public:
  virtual ~Attachment() = default;
  virtual std::string FileName() = 0;
  virtual std::string DisplayName() = 0;
  /// Writes the content to a Windows path. Throws Error for an embedded item without a file.
  virtual void SaveAsFile(std::string_view path) = 0;
  /// Type name of the object that holds the attachment, "MailItem" for a mail.
  virtual std::string ParentTypeName() = 0;
};

}  // namespace corvessa::platform
