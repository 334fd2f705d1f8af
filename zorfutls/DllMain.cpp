// zorfutls.dll entry point: creates and deletes the log's critical section.
#include <zorfutls/zorfutls.h>

void ZorfutlsLogInit();
void ZorfutlsLogShutdown();

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  (void)reserved;
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      DisableThreadLibraryCalls(instance);
      ZorfutlsLogInit();
      break;
    case DLL_PROCESS_DETACH:
      ZorfutlsLogShutdown();
      break;
  }
  return TRUE;
}
