#include "windows/addin/attachment_nodes_object.h"

#include <set>

#include "windows/addin/addin_host.h"
#include "windows/com/bstr.h"
#include "windows/com/entry.h"

namespace corvessa::windows {
namespace {

using Microsoft::WRL::ComPtr;

/// Those of a class that live: a foreign object may offer the same interface.
template <typename Interface>
std::set<Interface*>& Living() {
  static std::set<Interface*> objects;
  return objects;
}

/// Throws Error when the object is none of ours.
template <typename Class, typename Interface>
Class& OwnObject(IDispatch* object) {
  if (!object) Raise(kObjectNotSet);
  ComPtr<Interface> found;
  const HRESULT asked = object->QueryInterface(IID_PPV_ARGS(&found));
  if (FAILED(asked) || !Living<Interface>().contains(found.Get())) {
    com::RaiseFailed(E_INVALIDARG, {});
  }
  return *static_cast<Class*>(found.Get());
}

class AttachmentNodeObject final
    : public com::Object<AttachmentNodeObject, com::Dual<IAttachmentNode>> {
 public:
  static constexpr auto kProgId = L"CorvessaPro_OL.AttachmentNode";

  explicit AttachmentNodeObject(AttachmentNodePtr node) : node_(std::move(node)) {
    Living<IAttachmentNode>().insert(this);
  }

  AttachmentNode& Node() const { return *node_; }

  HRESULT STDMETHODCALLTYPE get_sDisplayName(BSTR* name) noexcept override {
    return Give(name, node_->sDisplayName);
  }
  HRESULT STDMETHODCALLTYPE get_sFilename(BSTR* path) noexcept override {
    return Give(path, node_->sFilename);
  }
  HRESULT STDMETHODCALLTYPE get_sSigners(BSTR* signers) noexcept override {
    return Give(signers, node_->sSigners);
  }
  HRESULT STDMETHODCALLTYPE get_lDecryptStatus(LONG* status) noexcept override {
    return Give(status, node_->lDecryptStatus);
  }
  HRESULT STDMETHODCALLTYPE get_lSignStatus(LONG* status) noexcept override {
    return Give(status, node_->lSignStatus);
  }

 private:
  friend Object;
  ~AttachmentNodeObject() { Living<IAttachmentNode>().erase(this); }

  static HRESULT Give(BSTR* result, const std::string& text) noexcept {
    if (!result) return E_POINTER;
    *result = nullptr;
    return Bordered<IAttachmentNode>([&] { *result = com::Bstr(text).Release(); });
  }
  static HRESULT Give(LONG* result, std::int32_t status) noexcept {
    if (!result) return E_POINTER;
    *result = status;
    return S_OK;
  }

  AttachmentNodePtr node_;
};

}  // namespace

AttachmentNodesObject::AttachmentNodesObject() : host_(AddInHost::Shared()) {
  Living<IAttachmentNodes>().insert(this);
}

AttachmentNodesObject::~AttachmentNodesObject() {
  Living<IAttachmentNodes>().erase(this);
}

AttachmentNodes& AttachmentNodesObject::NodesOf(IDispatch* object) {
  return OwnObject<AttachmentNodesObject, IAttachmentNodes>(object).nodes_;
}

AttachmentNode& AttachmentNodesObject::NodeOf(IDispatch* object) {
  return OwnObject<AttachmentNodeObject, IAttachmentNode>(object).Node();
}

HRESULT AttachmentNodesObject::get_Count(LONG* count) noexcept {
  if (!count) return E_POINTER;
  *count = static_cast<LONG>(nodes_.size());
  return S_OK;
}

HRESULT AttachmentNodesObject::get_Item(LONG index, IAttachmentNode** node) noexcept {
  if (!node) return E_POINTER;
  *node = nullptr;
  return Bordered<IAttachmentNodes>([&] {
    if (index < 1 || static_cast<std::size_t>(index) > nodes_.size()) {
      com::RaiseFailed(DISP_E_BADINDEX, {});
    }
    const AttachmentNodePtr& found = nodes_[static_cast<std::size_t>(index) - 1];
    com::Check(com::CreateObject<AttachmentNodeObject>(__uuidof(IAttachmentNode),
                                                       reinterpret_cast<void**>(node), found));
  });
}

}  // namespace corvessa::windows
