#pragma once

#include <set>
#include <vector>
#include <windows.h>

namespace corvessa::windows {

/// The user works with one window only while a modal one is open: all others of this thread are
/// disabled. Modal windows nest and may end in any order.
class Modality {
 public:
  /// From now on only this window takes input, and what it owns; null for none of ours.
  void Begin(HWND window);
  /// Does nothing when it has ended already. To be called while the window is still seen: the
  /// system gives the focus to one that can take it.
  void End(HWND window);

 private:
  static BOOL CALLBACK Disable(HWND window, LPARAM self);
  void Apply();

  std::vector<HWND> modal_;
  std::set<HWND> disabled_;
};

/// Runs a modal window of any kind.
class ModalScope {
 public:
  ModalScope(Modality& modality, HWND window) : modality_(modality), window_(window) {
    modality_.Begin(window);
  }
  ~ModalScope() { modality_.End(window_); }
  ModalScope(const ModalScope&) = delete;
  ModalScope& operator=(const ModalScope&) = delete;

 private:
  Modality& modality_;
  HWND window_;
};

}  // namespace corvessa::windows
