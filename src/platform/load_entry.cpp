// The load entry of the Windows library. It asks not to be told of threads, which the library has no use for, and does
// nothing else: no state exists before the first document. (The C runtime built into the library keeps thread storage,
// and as long as a module has that Windows may go on telling it; nothing depends on the answer.)
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(module);
  return TRUE;
}
