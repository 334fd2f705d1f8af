// XML parser benchmark: LoadFromBuffer on a generated service reply (the
// UTF-8 pass and the tree's destruction included) next to a plain loop
// counting '<' over the same wide text, at 1 MB and 10 MB, and the private
// bytes the 10 MB tree holds.
//
// The reply is generated here with a fixed seed: a declaration with
// encoding="UTF-8", an artist-list with a count attribute and artist elements
// with id/type attributes and name, sort-name, disambiguation and life-span
// children, holding entities and two- and three-byte UTF-8 names. Its bytes
// are widened one to one, as CXMLFile::Open does with a single-byte file.
#include <zorutils/zorutils.h>

#include "bench/BenchUtil.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace {

struct Rng {  // a fixed-seed linear congruential generator: same text every run
  unsigned long long state = 0x5EED1234ull;
  unsigned int Next() {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<unsigned int>(state >> 33);
  }
  unsigned int Below(unsigned int n) { return Next() % n; }
};

std::string Word(Rng& rng) {
  static const char* const kPieces[] = {"ka", "lo", "mi", "ren", "sto", "va", "el", "dor", "un", "bri",
                                        "\xC3\xA9",          // é: two bytes
                                        "\xC3\xB6",          // ö
                                        "\xE4\xB8\xAD",      // a CJK character: three bytes
                                        "\xE2\x82\xAC",      // €
                                        "&amp;", "&quot;"};  // entities stay as written
  std::string w;
  const unsigned int pieces = 2 + rng.Below(4);
  for (unsigned int i = 0; i < pieces; ++i) w += kPieces[rng.Below(sizeof(kPieces) / sizeof(kPieces[0]))];
  w[0] = static_cast<char>(w[0] >= 'a' && w[0] <= 'z' ? w[0] - 32 : w[0]);
  return w;
}

std::string Reply(size_t bytes) {
  Rng rng;
  std::string artists;
  unsigned int count = 0;
  while (artists.size() < bytes) {
    char id[64];
    snprintf(id, sizeof id, "%08x-%04x-%04x-%04x-%08x%04x", rng.Next(), rng.Below(0x10000), rng.Below(0x10000),
             rng.Below(0x10000), rng.Next(), rng.Below(0x10000));
    const std::string first = Word(rng), last = Word(rng);
    artists += "<artist id=\"";
    artists += id;
    artists += rng.Below(2) ? "\" type=\"Person\">" : "\" type=\"Group\">";
    artists += "<name>" + first + " " + last + "</name>";
    artists += "<sort-name>" + last + ", " + first + "</sort-name>";
    if (rng.Below(3) == 0) artists += "<disambiguation>" + Word(rng) + " singer</disambiguation>";
    char span[64];
    snprintf(span, sizeof span, "<life-span begin=\"%u\" end=\"%u\"/>", 1900 + rng.Below(100), 2000 + rng.Below(20));
    artists += span;
    artists += "</artist>\n";
    ++count;
  }
  char head[256];
  snprintf(head, sizeof head,
           "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<metadata xmlns=\"http://musicbrainz.org/ns/mmd-1.0#\"><artist-list count=\"%u\" offset=\"0\">\n",
           count);
  return head + artists + "</artist-list></metadata>\n";
}

std::vector<wchar_t> Widen(const std::string& bytes) {
  std::vector<wchar_t> text(bytes.size() + 1, 0);
  for (size_t i = 0; i < bytes.size(); ++i) text[i] = static_cast<unsigned char>(bytes[i]);
  return text;
}

using zorbench::Now;

template <class F>
double Median(int runs, F f) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    double start = Now();
    f();
    times.push_back(Now() - start);
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

volatile size_t g_sink;

// The baseline: one pass over the same wide text.
void CountOpenings(const std::vector<wchar_t>& text) {
  size_t n = 0;
  for (const wchar_t* p = text.data(); *p; ++p) n += *p == L'<';
  g_sink = n;
}

void LoadAndDestroy(std::vector<wchar_t>& text) {
  CXMLFile* doc = new CXMLFile;
  doc->LoadFromBuffer(text.data());
  g_sink = static_cast<size_t>(doc->NumChildren());
  delete doc;
}

// Committed private memory of the process: the sum over its address space
// (the process counters' PrivateUsage is not filled in everywhere).
SIZE_T PrivateBytes() {
  SIZE_T total = 0;
  MEMORY_BASIC_INFORMATION info;
  for (const char* p = nullptr; VirtualQuery(p, &info, sizeof info) == sizeof info;) {
    if (info.State == MEM_COMMIT && info.Type == MEM_PRIVATE) total += info.RegionSize;
    const char* next = static_cast<const char*>(info.BaseAddress) + info.RegionSize;
    if (next <= p) break;
    p = next;
  }
  return total;
}

}  // namespace

int main() {
  zorcrash::InstallCrashReport();
  const std::string small = Reply(1u << 20), large = Reply(10u << 20);
  std::vector<wchar_t> smallText = Widen(small), largeText = Widen(large);

  // Memory first, while the heap holds nothing of earlier runs. The figure
  // is what the tree adds: Open frees the widened text once parsed.
  const SIZE_T before = PrivateBytes();
  CXMLFile* doc = new CXMLFile;
  doc->LoadFromBuffer(largeText.data());
  const SIZE_T alive = PrivateBytes();
  CXMLNode* list = doc->FindNode(L"artist-list");
  printf("# %u artists in %u bytes; tree %.1f MB; whole process %.1f MB private (the widened text %.1f MB)\n",
         list ? static_cast<unsigned>(list->NumChildren()) : 0u, static_cast<unsigned>(large.size()),
         static_cast<double>(alive - before) / 1048576.0, static_cast<double>(alive) / 1048576.0,
         static_cast<double>(largeText.size() * sizeof(wchar_t)) / 1048576.0);
  delete doc;
  printf("# after destroy: %.1f MB above before\n", (static_cast<double>(PrivateBytes()) - static_cast<double>(before)) / 1048576.0);

  const int runs = 9;
  LoadAndDestroy(smallText);  // warm up code and heap
  const double scanSmall = Median(runs * 3, [&] { CountOpenings(smallText); });
  const double scanLarge = Median(runs * 3, [&] { CountOpenings(largeText); });
  const double loadSmall = Median(runs, [&] { LoadAndDestroy(smallText); });
  const double loadLarge = Median(runs, [&] { LoadAndDestroy(largeText); });
  // Where the time goes, for the record: parsing (the UTF-8 pass included)
  // and destroying the tree, separately.
  std::vector<double> parse, destroy;
  for (int i = 0; i < runs; ++i) {
    const double t0 = Now();
    CXMLFile* d = new CXMLFile;
    d->LoadFromBuffer(largeText.data());
    const double t1 = Now();
    delete d;
    parse.push_back(t1 - t0);
    destroy.push_back(Now() - t1);
  }
  std::sort(parse.begin(), parse.end());
  std::sort(destroy.begin(), destroy.end());
  printf("# 10 MB: parse %.1f ms, destroy %.1f ms\n", parse[runs / 2] * 1e3, destroy[runs / 2] * 1e3);
  printf("# scan 1 MB %.2f ms, 10 MB %.2f ms (scaling %.2f x); load 1 MB %.1f ms, 10 MB %.1f ms (median of %d)\n",
         scanSmall * 1e3, scanLarge * 1e3, scanLarge / scanSmall, loadSmall * 1e3, loadLarge * 1e3, runs);
  printf("BENCH xml.load10mb.vs_scan %.1f x\n", loadLarge / scanLarge);
  printf("BENCH xml.scaling %.2f x\n", loadLarge / loadSmall);
  printf("BENCH xml.memory %.2f x\n", static_cast<double>(alive - before) / static_cast<double>(large.size()));
  return 0;
}
