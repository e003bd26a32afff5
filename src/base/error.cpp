#include "base/error.h"

#include <utility>

namespace corvessa {

std::string_view ErrorDescription(long number) {
  switch (number) {
    case 0:
      return "";
    case kInvalidArgument:
      return "Invalid procedure call or argument";
    case kOverflow:
      return "Overflow";
    case kFileNotFound:
      return "File not found";
    case kPermissionDenied:
      return "Permission denied";
    case kPathFileAccess:
      return "Path/File access error";
    case kPathNotFound:
      return "Path not found";
    case kObjectNotSet:
      return "Object variable or With block variable not set";
    case kCannotCreateComponent:
      return "ActiveX component can't create object";
    case kInvalidPicture:
      return "Invalid picture";
    default:
      return "Application-defined or object-defined error";
  }
}

void Raise(long number) {
  throw Error{number, std::string(ErrorDescription(number))};
}

void Raise(long number, std::string description) {
  throw Error{number, std::move(description)};
}

}  // namespace corvessa
