#pragma once

#include <windows.h>

namespace corvessa::windows {

/// The version of the common controls that follows the user's theme, where the system has one; it
/// is named by this module's manifest. Outlook itself asks for the old one.
class VisualStyles {
 public:
  VisualStyles();
  ~VisualStyles();
  VisualStyles(const VisualStyles&) = delete;
  VisualStyles& operator=(const VisualStyles&) = delete;

  /// Windows that are made while it lives follow the theme, but not in high contrast.
  class Use {
   public:
    explicit Use(const VisualStyles& styles);
    ~Use();
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    ULONG_PTR cookie_ = 0;
  };

 private:
  HANDLE context_ = INVALID_HANDLE_VALUE;
};

}  // namespace corvessa::windows
