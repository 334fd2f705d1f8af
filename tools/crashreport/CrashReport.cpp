// The crash report: see CrashReport.h.
#include "tools/crashreport/CrashReport.h"

#include <windows.h>

#include <cstdio>

namespace zorcrash {
namespace {

std::string (*g_note)() = nullptr;
LONG g_crashing = 0;

const char* Describe(DWORD code) {
  switch (code) {
    case EXCEPTION_ACCESS_VIOLATION: return "access violation";
    case EXCEPTION_STACK_OVERFLOW: return "stack overflow";
    case EXCEPTION_ILLEGAL_INSTRUCTION: return "illegal instruction";
    case EXCEPTION_PRIV_INSTRUCTION: return "privileged instruction";
    case EXCEPTION_INT_DIVIDE_BY_ZERO: return "integer division by zero";
    case EXCEPTION_INT_OVERFLOW: return "integer overflow";
    case EXCEPTION_BREAKPOINT: return "breakpoint";
    case EXCEPTION_DATATYPE_MISALIGNMENT: return "misaligned data";
    case EXCEPTION_IN_PAGE_ERROR: return "in-page error";
    case 0xC0000409: return "stack buffer overrun or fast fail";
    case 0xC0000374: return "heap corruption";
    default: return "unhandled exception";
  }
}

// "module.exe+0x1a2b" for addr2line, or the bare address.
void Where(const void* address, char* out, size_t size) {
  HMODULE module = nullptr;
  char path[MAX_PATH];
  if (GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         static_cast<const char*>(address), &module) &&
      GetModuleFileNameA(module, path, MAX_PATH)) {
    const char* name = path;
    for (const char* c = path; *c; ++c)
      if (*c == '\\' || *c == '/') name = c + 1;
    snprintf(out, size, "%s+0x%llx", name,
             static_cast<unsigned long long>(static_cast<const char*>(address) - reinterpret_cast<const char*>(module)));
  } else {
    snprintf(out, size, "%p", address);
  }
}

void Write(const char* text, size_t length) {
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), text, static_cast<DWORD>(length), &written, nullptr);
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* info) {
  const EXCEPTION_RECORD* rec = info->ExceptionRecord;
  // A crash inside the report, or a second thread crashing meanwhile: just go.
  if (InterlockedExchange(&g_crashing, 1)) TerminateProcess(GetCurrentProcess(), rec->ExceptionCode | 1);
  char program[MAX_PATH] = "program";
  char path[MAX_PATH];
  if (GetModuleFileNameA(nullptr, path, MAX_PATH)) {
    const char* name = path;
    for (const char* c = path; *c; ++c)
      if (*c == '\\' || *c == '/') name = c + 1;
    snprintf(program, sizeof program, "%s", name);
  }
  char at[MAX_PATH + 32], access[64] = "";
  Where(rec->ExceptionAddress, at, sizeof at);
  if (rec->ExceptionCode == EXCEPTION_ACCESS_VIOLATION && rec->NumberParameters >= 2) {
    const ULONG_PTR how = rec->ExceptionInformation[0];
    snprintf(access, sizeof access, " %s 0x%llx", how == 0 ? "reading" : how == 8 ? "executing" : "writing",
             static_cast<unsigned long long>(rec->ExceptionInformation[1]));
  }
  char line[3 * MAX_PATH];
  const int n = snprintf(line, sizeof line, "%s: crashed: %s%s at %s (exception 0x%08lx)\n", program,
                         Describe(rec->ExceptionCode), access, at, static_cast<unsigned long>(rec->ExceptionCode));
  if (n > 0) Write(line, static_cast<size_t>(n) < sizeof line ? static_cast<size_t>(n) : sizeof line - 1);
  if (g_note) {
    const std::string note = g_note();
    if (!note.empty()) {
      Write(note.data(), note.size());
      Write("\n", 1);
    }
  }
  // Under Wine only the low byte of the exit code reaches a Unix parent:
  // keep it non-zero so that the crash can never read as a pass.
  DWORD code = rec->ExceptionCode;
  if ((code & 0xFF) == 0) code |= 1;
  TerminateProcess(GetCurrentProcess(), code);
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

void InstallCrashReport(std::string (*note)()) {
  g_note = note;
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  SetUnhandledExceptionFilter(OnCrash);
}

}  // namespace zorcrash
