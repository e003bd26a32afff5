#include "desk/profile/registry_file.h"

#include <system_error>
#include <utility>

#include "base/error.h"
#include "base/guard.h"
#include "desk/profile/registry_tree.h"
#include "system/errors.h"
#include "system/files.h"

namespace corvessa::desk {
namespace {

namespace fs = std::filesystem;
using platform::kRegistryAccessDenied;
using platform::kRegistryFileNotFound;
using platform::kRegistryNoMoreItems;
using platform::kRegistrySuccess;
using platform::RegistryKeyPtr;
using platform::RegistryStatus;

constexpr std::string_view kCurrentUserRoot = "HKEY_CURRENT_USER";
constexpr std::string_view kLocalMachineRoot = "HKEY_LOCAL_MACHINE";

[[noreturn]] void RaiseIoError(std::string_view verb, const fs::path& path, std::error_code code) {
  Raise(kPathFileAccess, "Cannot " + std::string(verb) + " the registry file " + path.string() +
                             ": " + system::ReasonText(code));
}

RegistryNodePtr Load(const fs::path& path) {
  try {
    auto file = system::File::OpenIfThere(path, system::File::Links::kRefuse);
    return file ? ParseRegedit4(file.ReadAll()) : std::make_shared<RegistryNode>();
  } catch (const std::system_error& error) {
    RaiseIoError("read", path, error.code());
  } catch (const Error& error) {
    Raise(kPathFileAccess, "The registry file " + path.string() +
                               " is damaged and was left unchanged: " + error.description);
  }
}

}  // namespace

class RegistryFile::Store {
 public:
  explicit Store(fs::path path) : path_(std::move(path)), roots_(Load(path_)) {
    for (const std::string_view root : {kCurrentUserRoot, kLocalMachineRoot}) {
      bool ignored = false;
      FindOrAddKey(roots_, root, ignored);
    }
  }

  const RegistryNodePtr& Roots() const { return roots_; }

  void Save() {
    if (!unsaved_) return;
    try {
      system::AtomicFile file(path_);
      file.Write(FormatRegedit4(*roots_));
      if (const auto trouble = file.CommitDurably()) system::Throw(trouble);
    } catch (const std::system_error& error) {
      RaiseIoError("write", path_, error.code());
    }
    unsaved_ = due_ = false;
  }

  void NoteChange() { unsaved_ = due_ = true; }
  void NoteDeletion() { unsaved_ = true; }

  void KeyOpened() { ++open_keys_; }
  void KeyClosed() noexcept {
    if (--open_keys_ == 0) SaveWhenDue();
  }
  void SaveWhenDue() noexcept {
    if (due_ && open_keys_ == 0) Ignoring([&] { Save(); });
  }

 private:
  fs::path path_;
  RegistryNodePtr roots_;
  int open_keys_ = 0;
  /// The file lacks changes.
  bool unsaved_ = false;
  /// They must not wait any longer.
  bool due_ = false;
};

namespace {

/// Changes a value; false if it was the same before.
bool SetValue(RegistryNode& key, std::string_view name, std::uint32_t type, std::string data) {
  RegistryValue& value =
      key.values.FindOrAdd(name, RegistryValue{std::string(name), kRegistryBinary, {}});
  if (value.type == type && value.data == data) return false;
  value.type = type;
  value.data = std::move(data);
  return true;
}

class FileKey final : public platform::RegistryKey {
 public:
  /// The two roots are always open, so they do not delay saving.
  enum class Kind { kRoot, kOpened };

  FileKey(std::shared_ptr<RegistryFile::Store> store, RegistryNodePtr node, Kind kind)
      : store_(std::move(store)), node_(std::move(node)), kind_(kind) {
    if (kind_ == Kind::kOpened) store_->KeyOpened();
  }
  FileKey(const FileKey&) = delete;
  FileKey& operator=(const FileKey&) = delete;
  ~FileKey() override {
    if (kind_ == Kind::kOpened) store_->KeyClosed();
  }

  RegistryStatus Create(std::string_view path, RegistryKeyPtr& key) override {
    key.reset();
    if (node_->deleted) return kRegistryKeyDeleted;
    if (!IsRegistryPath(path, node_->depth)) return kRegistryInvalidParameter;
    bool added = false;
    key = OpenNode(FindOrAddKey(node_, path, added));
    if (added) store_->NoteChange();
    return kRegistrySuccess;
  }

  RegistryStatus Open(std::string_view path, RegistryKeyPtr& key) override {
    key.reset();
    if (node_->deleted) return kRegistryKeyDeleted;
    const RegistryNodePtr found = FindKey(node_, path);
    if (!found) return kRegistryFileNotFound;
    key = OpenNode(found);
    return kRegistrySuccess;
  }

  std::int32_t ReadNumber(std::string_view name) override {
    const RegistryValue* value = Find(name);
    if (!value || value->data.size() > 4) return 0;
    return static_cast<std::int32_t>(BytesToNumber(value->data));
  }

  std::string ReadString(std::string_view name, std::size_t buffer_size) override {
    const RegistryValue* value = Find(name);
    if (!value) return {};
    const std::size_t end_size = value->data.ends_with('\0') ? 0 : 1;
    if (value->data.size() + end_size > buffer_size) return {};
    return value->data.substr(0, value->data.find('\0'));
  }

  RegistryStatus WriteNumber(std::string_view name, std::int32_t number) override {
    if (node_->deleted) return kRegistryKeyDeleted;
    if (!IsRegistryName(name)) return kRegistryInvalidParameter;
    if (SetValue(*node_, name, kRegistryNumber,
                 NumberToBytes(static_cast<std::uint32_t>(number)))) {
      store_->NoteChange();
    }
    store_->SaveWhenDue();
    return kRegistrySuccess;
  }

  RegistryStatus EnumerateKey(std::uint32_t index, std::string& name) override {
    if (node_->deleted) return kRegistryKeyDeleted;
    const RegistryNodePtr* found = node_->keys.At(index);
    if (!found) return kRegistryNoMoreItems;
    name = (*found)->name;
    return kRegistrySuccess;
  }

  RegistryStatus DeleteKey(std::string_view path) override {
    if (node_->deleted) return kRegistryKeyDeleted;
    const RegistryNodePtr found = FindKey(node_, path);
    if (!found) return kRegistryFileNotFound;
    if (found == node_ || !found->keys.Empty()) return kRegistryAccessDenied;
    RemoveKey(node_, path);
    store_->NoteDeletion();
    return kRegistrySuccess;
  }

 private:
  RegistryKeyPtr OpenNode(RegistryNodePtr node) const {
    return std::make_unique<FileKey>(store_, std::move(node), Kind::kOpened);
  }
  const RegistryValue* Find(std::string_view name) const { return node_->values.Find(name); }

  std::shared_ptr<RegistryFile::Store> store_;
  RegistryNodePtr node_;
  Kind kind_;
};

}  // namespace

RegistryFile::RegistryFile(fs::path path) : store_(std::make_shared<Store>(std::move(path))) {
  const auto root = [this](std::string_view name) {
    return std::make_unique<FileKey>(store_, FindKey(store_->Roots(), name), FileKey::Kind::kRoot);
  };
  current_user_ = root(kCurrentUserRoot);
  local_machine_ = root(kLocalMachineRoot);
}

RegistryFile::~RegistryFile() {
  Ignoring([&] { Save(); });
}

platform::RegistryKey& RegistryFile::CurrentUser() {
  return *current_user_;
}

platform::RegistryKey& RegistryFile::LocalMachine() {
  return *local_machine_;
}

void RegistryFile::Save() {
  store_->Save();
}

void RegistryFile::WriteString(std::string_view key, std::string_view name, std::string_view text) {
  const std::string_view root = key.substr(0, key.find('\\'));
  if ((root != kCurrentUserRoot && root != kLocalMachineRoot) || !IsRegistryPath(key) ||
      !IsRegistryName(name)) {
    Raise(kInvalidArgument);
  }
  bool changed = false;
  RegistryNode& node = *FindOrAddKey(store_->Roots(), key, changed);
  if (SetValue(node, name, kRegistryString, std::string(text) + '\0')) changed = true;
  if (changed) store_->NoteChange();
  store_->SaveWhenDue();
}

std::optional<RegistryValue> RegistryFile::FindValue(std::string_view key,
                                                     std::string_view name) const {
  const RegistryNodePtr node = FindKey(store_->Roots(), key);
  const RegistryValue* value = node ? node->values.Find(name) : nullptr;
  return value ? std::optional<RegistryValue>(*value) : std::nullopt;
}

}  // namespace corvessa::desk
