#include <iostream>
#include <ole2.h>
#include <string>

#include "windows/engine/upkeep.h"

// ring_changer NUMBER: makes so many changes to the user's rings, for tests with two programs.
int main(int, char** arguments) {
  if (FAILED(CoInitialize(nullptr))) return 2;
  std::string failure;
  try {
    failure = corvessa::windows::Upkeep().Change('b', std::stoi(arguments[1]));
  } catch (const corvessa::Error& error) {
    failure = error.description;
  }
  std::cerr << failure;
  return failure.empty() ? 0 : 1;
}
