#pragma once

#include <map>
#include <wrl/client.h>

#include "idl/corvessa_pro_ol.h"
#include "windows/outlook/counted_engine.h"
#include "windows/outlook/json_mail.h"
#include "windows/outlook/outlook_objects.h"
#include "windows/system/clipboard.h"

namespace corvessa::testing {

/// Outlook from its start to its end: the model, its COM objects, and the add-in, which is created
/// and connected as Outlook does it. A dialog of the add-in may let End in while it starts.
struct Session {
  /// Of the command: "version", "owner" (a name and an address), "word", "lists" (the address
  /// lists, each one of entries with name, address, id and smtp) and "missing" (the program IDs
  /// that are not installed). Throws Error when no add-in is registered to be loaded at start.
  explicit Session(const Json& command);
  void Start();
  /// Windows close first, then the add-in is told. Does nothing the second time.
  void End();

  windows::WindowsClipboard clipboard;
  desk::OutlookModel model;
  ServedLibraries libraries;
  CountedEngine engine;
  DispatchPtr application;
  Microsoft::WRL::ComPtr<IDTExtensibility2> add_in;
  /// The items of windows, by the numbers that commands use.
  std::map<int, desk::ItemPtr> windows;
  int last_window = 0;
};

}  // namespace corvessa::testing
