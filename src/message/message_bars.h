#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/command_bars.h"
#include "platform/outlook.h"

/// The command bars that a message's window gets from the add-in, and what their buttons do.
namespace corvessa {

class ReadingPass;

/// A command-bar button with its click event, held by whoever put it there. Dropping it ends the
/// event and leaves the button to its bar.
class BarButton final : public platform::CommandBarButtonEvents {
 public:
  using ClickHandler = std::function<void()>;

  BarButton() = default;
  BarButton(const BarButton&) = delete;
  BarButton& operator=(const BarButton&) = delete;

  /// `on_click` must keep alive what it uses; it may drop or bind this button again while it runs.
  void Bind(platform::CommandBarButtonPtr button, ClickHandler on_click);
  void Drop();
  bool IsBound() const { return button_ != nullptr; }
  /// The bound button; Error (91) when there is none.
  platform::CommandBarButton& Button() const;

 private:
  void Click(bool& cancel_default) override;

  platform::CommandBarButtonPtr button_;
  ClickHandler on_click_;
  platform::Subscription events_;
};

/// What happens when a button is clicked. Nothing here throws.
class MessageBarClicks {
 public:
  virtual ~MessageBarClicks() = default;
  virtual void oCommandBarItemDecryptNow_Click() = 0;
  virtual void oCommandBarItemDecryptAttachments_Click() = 0;
  virtual void oCommandBarItemShowOriginalMessage_Click() = 0;
  virtual void oCommandBarItemEncryptionStatus_Click() = 0;
  virtual void oCommandBarItemSigningStatus_Click() = 0;
  virtual void oCommandBarItemEncryptionOption_Click() = 0;
  virtual void oCommandBarItemSigningOption_Click() = 0;
};

/// The four bars of one message: "decrypt now", attachments, status, and the options of a message
/// being composed. Adding and removing a bar never throws; one that fails half-way stays as far as
/// it was built. The toggles throw what the message throws.
class MessageBars {
 public:
  /// `window_number` makes the tags of the buttons unique. Clicks end with the object they reach.
  void Bind(const platform::MailItemPtr& item, std::int32_t window_number,
            std::weak_ptr<MessageBarClicks> clicks);
  void RemoveAll();

  /// Only when the text is armoured, plain or HTML, or `has_parts` says so; whether it was added.
  bool AddDecryptNow(bool has_parts);
  void RemoveDecryptNow();
  /// Only when the pass has left the attachments to it.
  void AddDecryptAttachments(const ReadingPass& pass);
  /// The remarks stand behind the statuses, a button each.
  void AddStatus(const ReadingPass& pass, const std::vector<std::string>& remarks);
  /// The message starts with the choices of the settings; a reply to an encrypted one is encrypted.
  void AddOptions(bool encrypted_reply);

  void ToggleEncryption();
  void ToggleSigning();

 private:
  struct ButtonDesign;
  using ClickOperation = void (MessageBarClicks::*)();

  void RemoveDecryptAttachments();
  void RemoveStatus();
  void RemoveOptions();
  void MakeOptionButtons(platform::CommandBarControls& controls);
  void BindOptionButtons(platform::CommandBarControls& controls);
  void ApplyOptionDefaults(bool encrypted_reply);
  void SetEncryptionOption(bool on);
  void SetSigningOption(bool on, bool disabled);
  void AddButton(platform::CommandBarControls& controls, BarButton& button,
                 const ButtonDesign& design, ClickOperation on_click);
  void BindButton(platform::CommandBarButtonPtr found, BarButton& button, std::string_view name,
                  ClickOperation on_click);

  platform::MailItemPtr item_;
  std::int32_t window_number_ = 0;
  std::weak_ptr<MessageBarClicks> clicks_;

  BarButton oCommandBarItemDecryptNow;
  BarButton oCommandBarItemDecryptAttachments;
  BarButton oCommandBarItemShowOriginalMessage;
  BarButton oCommandBarItemEncryptionStatus;
  BarButton oCommandBarItemSigningStatus;
  std::vector<std::unique_ptr<BarButton>> remarks_;
  BarButton oCommandBarItemEncryptionOption;
  BarButton oCommandBarItemSigningOption;
};

}  // namespace corvessa
