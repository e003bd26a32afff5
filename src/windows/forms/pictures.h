#pragma once

#include <windows.h>

#include "platform/pictures.h"
#include "windows/forms/common_controls.h"
#include "windows/forms/metrics.h"

namespace corvessa::windows {

/// Draws a picture into the upper left corner of the place: in its own size, scaled as the form is,
/// or smaller if it would not fit; never distorted. The rest of the place's width continues its
/// right edge, as a brand's picture is a band across the form.
void DrawPicture(HDC context, const platform::Picture& picture, const RECT& place,
                 const Metrics& metrics);

/// The small pictures of list rows, which the caller's list destroys: a check mark in the system's
/// colour of text for each.
HIMAGELIST MakeRowIcons(int side, int count);

/// An icon of this module by its name, shared; null when there is none.
HICON FindIcon(const platform::Picture& icon, int width, int height);

}  // namespace corvessa::windows
