// zorutils.dll entry point: the string files' state is set up on load and
// released on unload; everything else is created by the host on demand.
#include <zorutils/strings/LanguageStrings_impl.h>

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      DisableThreadLibraryCalls(instance);
      ZorStringsAttach(instance);
      break;
    case DLL_PROCESS_DETACH:
      // At process exit (reserved non-null) other threads are gone mid-way and
      // the memory goes back with the process: only a real unload frees.
      if (!reserved) ZorStringsDetach();
      break;
  }
  return TRUE;
}
