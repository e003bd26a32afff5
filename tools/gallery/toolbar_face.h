#pragma once

#include <windows.h>

namespace corvessa::gallery {

/// Shows the button that the add-in puts on Outlook's toolbar, at rest and under the mouse: its
/// face and mask as the add-in leaves them on the clipboard, put together as command bars do it.
HWND ShowToolbarFace();

}  // namespace corvessa::gallery
