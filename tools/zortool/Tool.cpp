// zortool's shared helpers (Tool.h).
#include "Tool.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>

namespace {

std::string Utf8(const std::wstring& text) {
  int n = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<size_t>(n > 0 ? n : 0), '\0');
  if (n > 0)
    WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &bytes[0], n, nullptr, nullptr);
  return bytes;
}

}  // namespace

std::wstring SamplePath(const wchar_t* name) { return ExeDir() + L"\\samples\\" + name; }

int Fail(const std::wstring& verb, const std::wstring& message) {
  // One line whatever the message holds: a file's text may bring line breaks.
  std::wstring line = (verb.empty() ? L"zortool: " : L"zortool " + verb + L": ") + message;
  for (wchar_t& c : line)
    if (c == L'\r' || c == L'\n' || c == 0) c = L' ';
  const std::string bytes = Utf8(line + L"\n");
  fflush(stdout);
  fwrite(bytes.data(), 1, bytes.size(), stderr);
  fflush(stderr);
  return 1;
}

int BadArgs(const std::wstring& verb, const std::wstring& message) {
  Fail(verb, message + (verb.empty() ? L" (see zortool --help)" : L" (see zortool " + verb + L" --help)"));
  return 2;
}

std::wstring ArgValue(int argc, wchar_t** argv, const wchar_t* name, const std::wstring& fallback) {
  for (int i = 1; i + 1 < argc; ++i)
    if (wcscmp(argv[i], name) == 0) return argv[i + 1];
  return fallback;
}

bool HasFlag(int argc, wchar_t** argv, const wchar_t* name) {
  for (int i = 1; i < argc; ++i)
    if (wcscmp(argv[i], name) == 0) return true;
  return false;
}

std::vector<std::wstring> Positional(int argc, wchar_t** argv, int first,
                                     std::initializer_list<const wchar_t*> withValue) {
  std::vector<std::wstring> args;
  for (int i = first; i < argc; ++i) {
    if (wcsncmp(argv[i], L"--", 2) == 0 && argv[i][2] != 0) {
      for (const wchar_t* option : withValue)
        if (wcscmp(argv[i], option) == 0) {
          ++i;
          break;
        }
      continue;
    }
    args.push_back(argv[i]);
  }
  return args;
}

bool ReadBytes(const std::wstring& path, std::string& bytes, size_t limit, std::wstring& error) {
  bytes.clear();
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    error = L"no such file: " + path;
    return false;
  }
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) {
    error = L"a folder, not a file: " + path;
    return false;
  }
  HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    error = L"cannot open " + path;
    return false;
  }
  LARGE_INTEGER size = {};
  bool ok = GetFileSizeEx(file, &size) != 0;
  if (ok && static_cast<unsigned long long>(size.QuadPart) > limit) {
    error = L"too large (" + std::to_wstring(size.QuadPart) + L" bytes; the limit here is " +
            std::to_wstring(limit) + L"): " + path;
    CloseHandle(file);
    return false;
  }
  if (ok) {
    bytes.resize(static_cast<size_t>(size.QuadPart));
    size_t done = 0;
    while (ok && done < bytes.size()) {
      DWORD got = 0;
      const DWORD want = static_cast<DWORD>(bytes.size() - done > (1u << 24) ? (1u << 24) : bytes.size() - done);
      ok = ReadFile(file, &bytes[done], want, &got, nullptr) && got > 0;
      done += got;
    }
  }
  CloseHandle(file);
  if (!ok) error = L"cannot read " + path;
  return ok;
}

std::wstring BytesToText(const std::string& bytes) {
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
      static_cast<unsigned char>(bytes[1]) == 0xFE) {
    std::wstring text((bytes.size() - 2) / 2, L'\0');
    for (size_t i = 0; i < text.size(); ++i)
      text[i] = static_cast<wchar_t>(static_cast<unsigned char>(bytes[2 + 2 * i]) |
                                     static_cast<unsigned char>(bytes[3 + 2 * i]) << 8);
    return text;
  }
  if (bytes.empty() || bytes.size() > 0x7FFFFFFF) return L"";
  const int n = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
  std::wstring text(static_cast<size_t>(n > 0 ? n : 0), L'\0');
  if (n > 0) MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), &text[0], n);
  return text;
}
