#pragma once

#include <memory>

#include "addin/connect.h"
#include "addin/send_check.h"
#include "mime/mime_reader.h"
#include "platform/engine.h"
#include "platform/outlook.h"
#include "windows/cdo/cdo.h"
#include "windows/forms/windows_ui.h"
#include "windows/outlook/outlook.h"
#include "windows/redemption/redemption.h"
#include "windows/system/bitmap.h"
#include "windows/system/clipboard.h"
#include "windows/system/files.h"
#include "windows/system/registry.h"
#include "windows/system/services.h"

namespace corvessa::windows {

/// The add-in in this process: what the logic needs of Windows, and the logic's own entry. There is
/// one, which the connection to Outlook and the objects of other programs share.
class AddInHost {
 public:
  /// Makes it if there is none. Throws Error when the system lacks something.
  static std::shared_ptr<AddInHost> Shared();
  ~AddInHost();
  AddInHost(const AddInHost&) = delete;
  AddInHost& operator=(const AddInHost&) = delete;

  /// Neither throws.
  void Connect(DispatchPtr application) noexcept;
  void Disconnect() noexcept;

 private:
  AddInHost();

  WindowsRegistry registry_;
  WindowsFiles files_;
  WindowsClipboard clipboard_;
  WindowsClock clock_;
  WindowsShell shell_;
  WinInet inet_;
  OlePictures pictures_;
  ComRedemption redemption_;
  ComCdo cdo_;
  WindowsUi ui_;
  SendRecorder sends_;
  mime::MimeReader mime_;
  std::unique_ptr<platform::EngineFactory> engine_;
  std::unique_ptr<corvessa::Connect> connect_;
};

}  // namespace corvessa::windows
