// zortool lookup artists NAME | albums ARTIST TITLE | albums-of ARTIST_ID |
//                songs RELEASE_ID  [--server URL] [--offset N] [--v2]
//
// Runs one search of the online music catalogue and prints its records as a
// table, with a progress line while it waits. By default it speaks version 1
// of the service's interface and passes texts on as given, so spaces are
// written %20; with --v2 it speaks version 2 (the one the service answers
// today), texts are plain ("Sigur Rós") and the lookup encodes them, and the
// list's sort values (scores, disc and track numbers) are shown too.
// `zortool lookup demo [--v2]` serves the recorded replies in samples\lookup
// on 127.0.0.1 and runs one search of each kind against them (no network
// needed; the browse by artist gets the recorded release search).
#include <zorutils/zorutils.h>

#include "tools/loopback/HttpServer.h"

#include <windows.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "zorversion.h"

void Out(const std::wstring& text);  // main.cpp: UTF-8 to the console
std::wstring ExeDir();

namespace {

std::wstring Cut(const wchar_t* text, size_t width) {
  std::wstring s(text);
  if (s.size() > width) s = s.substr(0, width - 1) + L"\u2026";
  return s + std::wstring(width - s.size(), L' ');
}

bool g_v2 = false;  // --v2: version 2 of the service's interface

// Waits for the search, printing its progress on one line; then the table.
int Report(MusicBrainzLookup& lookup, int kind) {
  // The progress line is redrawn in place on a console; piped output gets
  // the final figure only.
  const bool console = GetFileType(GetStdHandle(STD_OUTPUT_HANDLE)) == FILE_TYPE_CHAR;
  int shown = -1;
  for (int i = 0; i < 3000 && !lookup.IsSearchComplete(); ++i) {
    const int p = lookup.GetPercentageComplete();
    if (console && p != shown) Out(L"\rwaiting for the reply: " + std::to_wstring(shown = p) + L"%   ");
    Sleep(10);
  }
  Out(console ? L"\r                                \r" : L"search finished\n");
  bool failed = true;
  int count = 0;
  CMyList* list = nullptr;
  lookup.GetSearchResults(failed, count, list);
  if (!lookup.IsSearchComplete() || failed || !list) {
    Out(L"lookup: the search failed\n");
    return 1;
  }
  Out(L"lookup: " + std::to_wstring(count) + L" found, " + std::to_wstring(list->NumNodes()) +
      L" in this page\n");
  for (int i = 0; i < list->NumNodes(); ++i) {
    long sort = 0;
    void* item = list->Index(i, &sort);
    // Version 2 puts the search score (or disc and track) in the sort value.
    const std::wstring score = g_v2 && kind != kLookupSongs ? L"[" + std::to_wstring(sort) + L"] " : L"";
    if (kind == kLookupArtists) {
      const auto* a = static_cast<TLookupArtist*>(item);
      Out(L"  " + Cut(a->id, 38) + L" " + score + a->name + L"\n");
    } else if (kind == kLookupSongs) {
      const auto* s = static_cast<TLookupSong*>(item);
      wchar_t length[32];
      swprintf(length, 32, L"%d:%02d", s->duration / 60000, s->duration / 1000 % 60);
      const std::wstring number = g_v2 ? std::to_wstring(sort / 1000) + L"-" + std::to_wstring(sort % 1000)
                                       : std::to_wstring(i + 1);
      Out(L"  " + number + L". " + Cut(s->title, 40) + L" " + length + L"\n");
    } else {
      const auto* a = static_cast<TLookupAlbum*>(item);
      Out(L"  " + Cut(a->id, 38) + L" " + score + Cut(a->title, 28) + L" " + Cut(a->artist, 20) + L" " +
          Cut(a->date, 10) + L" " + std::to_wstring(a->trackCount) + L" tracks\n");
    }
  }
  return 0;
}

int Search(MusicBrainzLookup& lookup, const std::vector<std::wstring>& args, int offset) {
  std::vector<std::wstring> a = args;
  a.resize(3);
  const std::wstring& what = a[0];
  if (what == L"artists" && lookup.SearchArtists(&a[1][0], offset)) return Report(lookup, 0);
  if (what == L"albums" && lookup.SearchAlbums(&a[1][0], &a[2][0], offset)) return Report(lookup, 1);
  if (what == L"albums-of" && lookup.GetAlbums(&a[1][0], offset)) return Report(lookup, 2);
  if (what == L"songs" && lookup.GetSongs(&a[1][0])) return Report(lookup, 3);
  Out(L"usage: zortool lookup artists NAME | albums ARTIST TITLE | albums-of ARTIST_ID |"
      L" songs RELEASE_ID | demo  [--server URL] [--offset N] [--v2]\n");
  return 2;
}

std::string ReadSample(const wchar_t* name) {
  std::string bytes;
  if (FILE* f = _wfopen((ExeDir() + L"\\samples\\lookup\\" + name).c_str(), L"rb")) {
    char buf[4096];
    for (size_t got; (got = fread(buf, 1, sizeof buf, f)) > 0;) bytes.append(buf, got);
    fclose(f);
  }
  return bytes;
}

}  // namespace

int Lookup(int argc, wchar_t** argv) {
  std::vector<std::wstring> args;
  std::wstring server;
  int offset = 0;
  for (int i = 2; i < argc; ++i) {
    const std::wstring arg = argv[i];
    if (arg == L"--server" && i + 1 < argc) server = argv[++i];
    else if (arg == L"--offset" && i + 1 < argc) offset = _wtoi(argv[++i]);
    else if (arg == L"--v2") g_v2 = true;
    else args.push_back(arg);
  }
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  // The service asks callers to name themselves: program, version, contact.
  MyInternetAccess session(L"zortool", L"" ZOR_VERSION_STRING, L"https://zorutils.example/zortool");
  std::unique_ptr<MusicBrainzLookup> chosen(g_v2 ? new MusicBrainzLookupV2(&session, temp)
                                                 : new MusicBrainzLookup(&session, temp));
  MusicBrainzLookup& lookup = *chosen;
  if (!args.empty() && args[0] == L"demo") {
    // The recorded replies, answered by a server in this process.
    zorloopback::HttpServer recorded([](const zorloopback::HttpRequest& r) {
      zorloopback::HttpReply reply;
      const std::string& t = r.target;
      const wchar_t* version = t.rfind("/ws/2/", 0) == 0 ? L"v2-" : L"";
      const std::wstring name = t.find("/artist/") != std::string::npos ? L"artists.xml"
                                : t.find("/release/?") != std::string::npos ? L"releases.xml"
                                                                             : L"release-tracks.xml";
      reply.body = ReadSample((version + name).c_str());
      return reply;
    });
    lookup.SetServer(recorded.Url().c_str());
    Out(L"lookup demo" + std::wstring(g_v2 ? L" (version 2)" : L"") + L": recorded replies served at " +
        recorded.Url() + L"\n");
    const wchar_t* name = g_v2 ? L"Sigur R\u00f3s" : L"sigur%20ros";
    int failures = 0;
    for (const std::vector<std::wstring>& search :
         {std::vector<std::wstring>{L"artists", name},
          std::vector<std::wstring>{L"albums", name, L"takk"},
          std::vector<std::wstring>{L"albums-of", L"f6f2326f-6b25-4170-b89d-e235b25508e8"},
          std::vector<std::wstring>{L"songs", L"a3b8a9e3-7f1c-4b1e-9c87-9b6e5f2d1c01"}}) {
      Out(L"> lookup");
      for (const std::wstring& s : search) Out(L" " + s);
      Out(L"\n");
      failures += Search(lookup, search, 0) != 0;
    }
    return failures ? 1 : 0;
  }
  if (!server.empty() && !lookup.SetServer(server.c_str())) {
    Out(L"lookup: the server address is too long\n");
    return 2;
  }
  return Search(lookup, args, offset);
}
