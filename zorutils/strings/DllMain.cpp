// zorutils.dll entry point: keeps the module handle for the library's own
// resources (dialog templates, version).
#include <windows.h>

HINSTANCE g_zorutilsModule = nullptr;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  (void)reserved;
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      g_zorutilsModule = instance;
      DisableThreadLibraryCalls(instance);
      break;
    case DLL_PROCESS_DETACH:
      break;
  }
  return TRUE;
}
