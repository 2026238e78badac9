/*
 * Linked into every DLL for Windows: keeps the DLL's unwinding tables with the DLL's own copy of the compiler's runtime.
 *
 * GCC's start code registers the tables with libgcc_s_dw2-1.dll where the process has one, because the host is linked
 * with it, and only else with the copy in the DLL. But it is that copy that throws the DLL's own exceptions, and ends
 * the process when it does not know the frames that they pass. The start code looks for that library through the import
 * entry of GetModuleHandleA, which is defined here instead of being imported, and is told that there is none.
 */
#define WIN32_LEAN_AND_MEAN
#include <string.h>
#include <windows.h>

static HMODULE WINAPI moduleHandle(const char *name) {
  HMODULE module = NULL;
  if (name && strcmp(name, "libgcc_s_dw2-1.dll") == 0) return NULL;
  return GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, name, &module) ? module : NULL;
}

HMODULE(WINAPI *const arbtreeImportOfGetModuleHandle)(const char *) __asm__("__imp__GetModuleHandleA@4") = moduleHandle;
