#pragma once

#include <ole2.h>
#include <wrl/client.h>

#include "platform/engine.h"

namespace corvessa::windows {

/// An account as the engine component takes it: an object whose property m_sAlias is the address.
/// Null for none.
Microsoft::WRL::ComPtr<IDispatch> AccountObjectOf(const platform::EngineAccount* account);

}  // namespace corvessa::windows
