#pragma once

#include "platform/outlook.h"

namespace corvessa {

/// The application's version rounded to a whole number, halves to the even one, is 9, 10 or 11.
bool IsCompatibleOutlookVersion(platform::Application& application);

/// The version read as a decimal number equals 9, 10 or 11 exactly ("9.0.0.2711" reads as 9).
bool IsOutlook2000(platform::Application& application);
bool IsOutlook2002(platform::Application& application);
bool IsOutlook2003(platform::Application& application);

}  // namespace corvessa
