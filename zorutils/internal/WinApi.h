// Functions looked up by name at run time, because older systems lack them.
#pragma once

#include <windows.h>

namespace zor {

/// The address of `name` in the already loaded or loadable `module`, cast to
/// the function type F; null when the module or the function is missing.
/// Modules loaded here stay loaded for the life of the process.
template <class F>
F GetProcAddressAs(const wchar_t* module, const char* name) {
  HMODULE h = ::GetModuleHandleW(module);
  if (!h) h = ::LoadLibraryW(module);
  if (!h) return nullptr;
  return reinterpret_cast<F>(reinterpret_cast<void*>(::GetProcAddress(h, name)));
}

}  // namespace zor
