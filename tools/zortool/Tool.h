// What zortool's commands share: console output, the one-line error, option
// look-ups and reading a file whole with a size limit.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

/// UTF-8 to stdout (main.cpp).
void Out(const std::wstring& text);
/// The folder of zortool.exe (main.cpp).
std::wstring ExeDir();
/// A bundled sample: ExeDir()\samples\<name>.
std::wstring SamplePath(const wchar_t* name);

/// Prints "zortool <verb>: <message>" as one line on stderr; returns 1.
int Fail(const std::wstring& verb, const std::wstring& message);
/// The same for wrong arguments, followed by nothing else; returns 2.
int BadArgs(const std::wstring& verb, const std::wstring& message);

/// The value after `name` (e.g. "--file"), or `fallback` when absent.
std::wstring ArgValue(int argc, wchar_t** argv, const wchar_t* name, const std::wstring& fallback = L"");
/// Whether `name` stands among the arguments.
bool HasFlag(int argc, wchar_t** argv, const wchar_t* name);
/// The arguments from index `first` on that are neither options nor option
/// values; `withValue` lists the options that take a value ("--file ...").
std::vector<std::wstring> Positional(int argc, wchar_t** argv, int first,
                                     std::initializer_list<const wchar_t*> withValue);

/// Reads the file whole into `bytes`. False with a readable reason in `error`
/// when it is missing, unreadable, a folder, or larger than `limit` bytes.
bool ReadBytes(const std::wstring& path, std::string& bytes, size_t limit, std::wstring& error);
/// Bytes as text: UTF-16LE after its byte-order mark, otherwise UTF-8 (bytes
/// that are not UTF-8 become U+FFFD). Zero units inside are kept.
std::wstring BytesToText(const std::string& bytes);
