#pragma once

#include <memory>

#include "idl/corvessa_pro_ol.h"
#include "message/attachment_node.h"
#include "windows/com/object.h"

namespace corvessa::windows {

class AddInHost;

/// "CorvessaPro_OL.AttachmentNodes", the attachments that a CryptoOperations object works on.
class AttachmentNodesObject final
    : public com::Object<AttachmentNodesObject, com::Dual<IAttachmentNodes>> {
 public:
  static constexpr auto kProgId = L"CorvessaPro_OL.AttachmentNodes";

  AttachmentNodesObject();

  /// The collection behind an object. Throws Error (91) for null, E_INVALIDARG for another object.
  static AttachmentNodes& NodesOf(IDispatch* object);

  /// The same for an item of a collection.
  static AttachmentNode& NodeOf(IDispatch* object);

  HRESULT STDMETHODCALLTYPE get_Count(LONG* count) noexcept override;
  HRESULT STDMETHODCALLTYPE get_Item(LONG index, IAttachmentNode** node) noexcept override;

 private:
  friend Object;
  ~AttachmentNodesObject();

  /// The files are its host's.
  std::shared_ptr<AddInHost> host_;
  AttachmentNodes nodes_;
};

}  // namespace corvessa::windows
