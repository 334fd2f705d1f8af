// zortool catalogue list | show ID | advert [ID] [--shot FILE.bmp] [--file CATALOGUE.xml]
//
// Reads the product catalogue (samples\catalogue.xml beside the program
// unless --file names another) and lists it, shows one product, or shows the
// advertisement dialog: for ID, or for the product the rotation picks today
// (its state under HKEY_CURRENT_USER\Software\zorutils\zortool\Adverts, one
// product a week at most). With --shot the dialog is saved as a BMP file and
// closed.
#include <zorutils/zorutils.h>

#include "Shot.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

void Out(const std::wstring& text);  // main.cpp
std::wstring ExeDir();               // main.cpp

namespace {

const wchar_t kStateKey[] = L"Software\\zorutils\\zortool\\Adverts";
const int kDaysBetweenAdverts = 7;

std::wstring g_advertShot;

std::wstring Option(int argc, wchar_t** argv, const wchar_t* name) {
  for (int i = 3; i + 1 < argc; ++i)
    if (wcscmp(argv[i], name) == 0) return argv[i + 1];
  return L"";
}

// The first argument after the sub-verb that is neither an option nor an
// option's value.
std::wstring Positional(int argc, wchar_t** argv) {
  for (int i = 3; i < argc; ++i) {
    if (wcsncmp(argv[i], L"--", 2) == 0) {
      ++i;
      continue;
    }
    return argv[i];
  }
  return L"";
}

int Usage() {
  fputs("usage: zortool catalogue list | show ID | advert [ID] [--shot FILE.bmp] [--file CATALOGUE.xml]\n", stderr);
  return 2;
}

std::wstring Line(const CProductCatalogue& catalogue, int i) {
  const TCatalogueProduct* p = catalogue.GetProduct(i);
  wchar_t line[512];
  swprintf(line, 512, L"%-12ls %-8ls %-13ls %ls\n", p->id, p->version,
           catalogue.IsInstalled(i) ? L"installed" : L"not installed", p->name);
  return line;
}

int Show(const CProductCatalogue& catalogue, const std::wstring& id) {
  const int i = catalogue.FindById(id.c_str());
  if (i < 0) {
    Out(L"zortool: no product " + id + L" in the catalogue\n");
    return 1;
  }
  static const wchar_t* const kinds[] = {L"uninstall key", L"App Paths entry", L"file"};
  const TCatalogueProduct* p = catalogue.GetProduct(i);
  Out(std::wstring(L"id          ") + p->id + L"\nname        " + p->name + L"\nversion     " + p->version +
      L"\ndescription " + p->description + L"\ninstalled   " + (catalogue.IsInstalled(i) ? L"yes" : L"no") +
      L" (" + kinds[p->installCheck] + L" " + p->installTarget + L")\ndownload    " + p->downloadAddress +
      L"\ninformation " + p->infoAddress + L"\nicon        " + p->iconFile + L"\nnot shown   " +
      (catalogue.IsSuppressed(i) ? L"yes" : L"no") + L"\n");
  return 0;
}

int Advert(CProductCatalogue& catalogue, const std::wstring& id) {
  const unsigned long today = CatalogueToday();
  const int i = id.empty() ? catalogue.NextToAdvertise(kDaysBetweenAdverts, today) : catalogue.FindById(id.c_str());
  if (i < 0) {
    Out(id.empty() ? L"nothing to advertise today\n" : L"zortool: no product " + id + L" in the catalogue\n");
    return id.empty() ? 0 : 1;
  }
  if (!g_advertShot.empty()) ShootNextDialog(g_advertShot);
  const int choice = UT_ShowProductAdvert(nullptr, catalogue, i);
  catalogue.MarkShown(i, today);
  Out(std::wstring(L"advertised ") + catalogue.GetProduct(i)->id + L": " +
      (choice == ZOR_ADVERT_DOWNLOAD ? L"download" : choice == ZOR_ADVERT_CLOSE ? L"closed" : L"failed") +
      L", do not show again " + (catalogue.IsSuppressed(i) ? L"1" : L"0") + L"\n");
  return choice < 0 ? 1 : 0;
}

}  // namespace

int Catalogue(int argc, wchar_t** argv) {
  if (argc < 3) return Usage();
  const std::wstring verb = argv[2];
  std::wstring file = Option(argc, argv, L"--file");
  if (file.empty()) file = ExeDir() + L"\\samples\\catalogue.xml";
  g_advertShot = Option(argc, argv, L"--shot");
  CProductCatalogue catalogue;
  if (!catalogue.Load(file.c_str(), nullptr)) {
    Out(L"zortool: cannot load the catalogue " + file + L"\n");
    return 1;
  }
  catalogue.SetStateKey(HKEY_CURRENT_USER, kStateKey);
  if (verb == L"list") {
    for (int i = 0; i < catalogue.GetCount(); ++i) Out(Line(catalogue, i));
    return 0;
  }
  if (verb == L"show" && !Positional(argc, argv).empty()) return Show(catalogue, Positional(argc, argv));
  if (verb == L"advert") return Advert(catalogue, Positional(argc, argv));
  return Usage();
}
