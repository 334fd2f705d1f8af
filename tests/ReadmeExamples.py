#!/usr/bin/env python3
"""Turns the C++ examples of README.md into one source file, compiled in
every build, so that an example that no longer matches the headers fails the
build instead of misleading a reader.

Usage: ReadmeExamples.py README.md OUTPUT.cpp

Each ```cpp block becomes the body of a member function of ReadmeHost, a
stand-in for the host program the examples are written from: it holds the
window handles, callbacks and helpers the examples mention but do not define.
#include lines are moved to the top. Nothing here runs.
"""
import re
import sys

PRELUDE = r'''// Generated from README.md by tests/ReadmeExamples.py: do not edit.
#include <windows.h>
#include <string>

namespace {

enum { IDC_HOMEPAGE = 1001, IDC_FOLDERS = 1002, IDI_TREE_FIRST = 2000 };
void CopyOne(int) {}
void AddMenuItem(const wchar_t*, bool) {}
bool OnPromoEvent(const wchar_t*, const wchar_t*, wchar_t*, int, void*) { return true; }
void OnFolderSelected(wchar_t*, DWORD) {}

struct ReadmeHost {
  HWND hwnd = nullptr, hwndBanner = nullptr, hwndDialog = nullptr, dlg = nullptr;
  HINSTANCE hInstance = nullptr;
  int fileCount = 0;
  struct { bool skipConfirmDelete = false; } settings;
  std::wstring exeDir;
  wchar_t tempFolderEndingInBackslash[MAX_PATH] = L"C:\\temp\\";
  CExplorerTree m_tree;
'''


def main():
    readme, output = sys.argv[1], sys.argv[2]
    with open(readme, encoding='utf-8') as f:
        text = f.read()
    blocks = re.findall(r'^```cpp\n(.*?)^```', text, re.S | re.M)
    if not blocks:
        sys.exit('ReadmeExamples.py: no ```cpp blocks in ' + readme)
    includes, bodies = [], []
    for n, block in enumerate(blocks, 1):
        lines = block.splitlines()
        includes += [l for l in lines if l.startswith('#include')]
        body = [l for l in lines if not l.startswith('#include')]
        bodies.append('  void Example%d() {\n%s\n  }\n' % (n, '\n'.join('    ' + l for l in body)))
    if not any('zorutils/zorutils.h' in l for l in includes):
        sys.exit('ReadmeExamples.py: the examples never include <zorutils/zorutils.h>')
    source = '\n'.join(dict.fromkeys(includes)) + '\n' + PRELUDE + '\n'.join(bodies) + '};\n\n}  // namespace\n'
    source += '\nvoid ReadmeExamplesCompiled() { (void)sizeof(ReadmeHost); }\n'
    with open(output, 'w', encoding='utf-8') as f:
        f.write(source)


if __name__ == '__main__':
    main()
