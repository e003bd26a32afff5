#pragma once

#include <memory>
#include <ole2.h>

#include "platform/engine.h"
#include "platform/host.h"
#include "windows/cdo/cdo.h"
#include "windows/engine/com_engine.h"
#include "windows/forms/windows_ui.h"
#include "windows/redemption/redemption.h"
#include "windows/system/bitmap.h"
#include "windows/system/clipboard.h"
#include "windows/system/files.h"
#include "windows/system/registry.h"
#include "windows/system/services.h"

namespace corvessa::gallery {

/// COM with the clipboard, while it lives.
class OleScope {
 public:
  OleScope() { OleInitialize(nullptr); }
  ~OleScope() { OleUninitialize(); }
  OleScope(const OleScope&) = delete;
  OleScope& operator=(const OleScope&) = delete;
};

/// Installs what the add-in stands on in a process of its own, with the brand's pictures.
class FormsHost {
 public:
  explicit FormsHost(int dpi = windows::ScreenDpi()) : ui(dpi) {
    platform::InstallHost({cdo_,
                           clipboard_,
                           clock_,
                           *engine_,
                           files_,
                           inet_,
                           pictures_,
                           redemption_,
                           registry_,
                           shell_,
                           ui,
                           {1, 0, 0, CORVESSA_BRAND_FOLDER}});
  }
  ~FormsHost() { platform::RemoveHost(); }
  FormsHost(const FormsHost&) = delete;
  FormsHost& operator=(const FormsHost&) = delete;

 private:
  OleScope ole_;

 public:
  windows::WindowsUi ui;

 private:
  windows::WindowsRegistry registry_;
  windows::WindowsFiles files_;
  windows::WindowsClipboard clipboard_;
  windows::WindowsClock clock_;
  windows::WindowsShell shell_;
  windows::WinInet inet_;
  windows::OlePictures pictures_;
  windows::ComRedemption redemption_;
  windows::ComCdo cdo_;
  std::unique_ptr<platform::EngineFactory> engine_ = windows::CreateComEngineFactory();
};

}  // namespace corvessa::gallery
