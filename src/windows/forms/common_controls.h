#pragma once

#include <windows.h>

// It needs what the first one declares.
#include <commctrl.h>
