#pragma once

#include <cstdint>
#include <string>

namespace corvessa::platform {

class Cdo;
class Clipboard;
class Clock;
class EngineFactory;
class Files;
class Inet;
class MimeReader;
class Observer;
class Pictures;
class Redemption;
class Registry;
class Shell;
class Ui;

/// The add-in's own version and the folder of its file, without a trailing backslash.
struct ProductInfo {
  std::int32_t major_version = 0;
  std::int32_t minor_version = 0;
  std::int32_t revision = 0;
  std::string folder;
};

/// The installed back end: references to everything outside the logic. They outlive the add-in.
struct HostServices {
  Cdo& cdo;
  Clipboard& clipboard;
  Clock& clock;
  EngineFactory& engine;
  Files& files;
  Inet& inet;
  Pictures& pictures;
  Redemption& redemption;
  Registry& registry;
  Shell& shell;
  Ui& ui;
  ProductInfo product;
  /// May be left out.
  Observer* observer = nullptr;
  /// Without one, PGP/MIME is not read.
  MimeReader* mime = nullptr;
};

/// Installs the back end; once, before Connect is created. Installing twice is an error.
void InstallHost(const HostServices& services);

/// Takes the back end away again, after the add-in has been closed down and reset.
void RemoveHost() noexcept;

/// Throws Error (91) when no back end is installed.
const HostServices& Host();

/// The back end's observer, or one that ignores everything. Throws as Host does.
Observer& HostObserver();

}  // namespace corvessa::platform
