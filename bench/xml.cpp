// XML parser benchmark: LoadFromBuffer on a generated service reply (the
// UTF-8 pass and the tree's destruction included) next to pugixml 1.15 in
// wide-character mode on the same widened buffer (its load_buffer, which
// copies the buffer as ours leaves it untouched; its tree destroyed inside
// the timing too) and next to a plain loop counting '<' over the same text,
// at 1 MB and 10 MB; Open of the 10 MB file next to pugixml's load_file (which
// decodes the UTF-8 itself); and the committed memory each live tree holds.
// Contenders run interleaved, round by round.
//
// The reply is generated here with a fixed seed: a declaration with
// encoding="UTF-8", an artist-list with a count attribute and artist elements
// with id/type attributes and name, sort-name, disambiguation and life-span
// children, holding entities and two- and three-byte UTF-8 names. Its bytes
// are widened one to one, as CXMLFile::Open does with a single-byte file.
#include <zorutils/zorutils.h>

#include "bench/BenchUtil.h"

#include <pugixml.hpp>

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

using zorbench::CommittedBytes;
using zorbench::Median;
using zorbench::Min;

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

void PugiLoadAndDestroy(const std::vector<wchar_t>& text) {
  pugi::xml_document* doc = new pugi::xml_document;
  doc->load_buffer(text.data(), (text.size() - 1) * sizeof(wchar_t), pugi::parse_default, pugi::encoding_wchar);
  g_sink = static_cast<size_t>(doc->first_child().type());
  delete doc;
}

void OpenAndDestroy(const std::wstring& path) {
  CXMLFile* doc = new CXMLFile;
  doc->Open(path.c_str());
  g_sink = static_cast<size_t>(doc->NumChildren());
  delete doc;
}

void PugiOpenAndDestroy(const std::wstring& path) {
  pugi::xml_document* doc = new pugi::xml_document;
  doc->load_file(path.c_str());
  g_sink = static_cast<size_t>(doc->first_child().type());
  delete doc;
}

}  // namespace

int main() {
  zorcrash::InstallCrashReport();
  const std::string small = Reply(1u << 20), large = Reply(10u << 20);
  std::vector<wchar_t> smallText = Widen(small), largeText = Widen(large);
  const std::wstring path = zorbench::TempPath(L"reply.xml");
  if (!zorbench::Write(path, large)) {
    printf("bench_xml: cannot write the input file\n");
    return 1;
  }
  const double fileBytes = static_cast<double>(large.size());

  // Memory first, while the heap holds nothing of earlier runs: what each
  // live tree adds to the process's committed memory (pugixml's includes
  // its copy of the text, which its tree points into).
  SIZE_T before = CommittedBytes();
  CXMLFile* doc = new CXMLFile;
  doc->LoadFromBuffer(largeText.data());
  const double ours = static_cast<double>(CommittedBytes() - before);
  CXMLNode* list = doc->FindNode(L"artist-list");
  printf("# %u artists in %u bytes; our tree %.1f MB (the widened text %.1f MB)\n",
         list ? static_cast<unsigned>(list->NumChildren()) : 0u, static_cast<unsigned>(large.size()),
         ours / 1048576.0, static_cast<double>(largeText.size() * sizeof(wchar_t)) / 1048576.0);
  delete doc;
  printf("# after destroy: %.1f MB above before\n",
         (static_cast<double>(CommittedBytes()) - static_cast<double>(before)) / 1048576.0);
  before = CommittedBytes();
  pugi::xml_document* pugiDoc = new pugi::xml_document;
  pugiDoc->load_buffer(largeText.data(), (largeText.size() - 1) * sizeof(wchar_t), pugi::parse_default,
                       pugi::encoding_wchar);
  const double theirs = static_cast<double>(CommittedBytes() - before);
  delete pugiDoc;
  printf("# pugixml's tree %.1f MB\n", theirs / 1048576.0);

  const int runs = 9;
  LoadAndDestroy(smallText);  // warm up code and heap
  PugiLoadAndDestroy(smallText);
  auto scan = zorbench::Interleaved(runs * 3, {[&] { CountOpenings(smallText); }, [&] { CountOpenings(largeText); }});
  auto loads = zorbench::Interleaved(runs, {[&] { LoadAndDestroy(smallText); }, [&] { LoadAndDestroy(largeText); },
                                            [&] { PugiLoadAndDestroy(largeText); }});
  auto opens = zorbench::Interleaved(runs, {[&] { OpenAndDestroy(path); }, [&] { PugiOpenAndDestroy(path); }});
  // Where the time goes, for the record: parsing (the UTF-8 pass included)
  // and destroying the tree, separately.
  std::vector<double> parse, destroy;
  for (int i = 0; i < runs; ++i) {
    const double t0 = zorbench::Now();
    CXMLFile* d = new CXMLFile;
    d->LoadFromBuffer(largeText.data());
    const double t1 = zorbench::Now();
    delete d;
    parse.push_back(t1 - t0);
    destroy.push_back(zorbench::Now() - t1);
  }
  // The same document parsing again: its blocks are recycled (touched already).
  std::vector<double> reparse;
  {
    CXMLFile same;
    for (int i = 0; i < runs; ++i) {
      const double t0 = zorbench::Now();
      same.LoadFromBuffer(largeText.data());
      reparse.push_back(zorbench::Now() - t0);
    }
  }
  DeleteFileW(path.c_str());

  const double scanSmall = Median(scan[0]), scanLarge = Median(scan[1]);
  const double loadSmall = Median(loads[0]), loadLarge = Median(loads[1]), pugiLoad = Median(loads[2]);
  const double open = Median(opens[0]), pugiOpen = Median(opens[1]);
  printf("# 10 MB: parse %.1f ms, destroy %.1f ms; parse again into the same document %.1f ms\n", Median(parse) * 1e3,
         Median(destroy) * 1e3, Median(reparse) * 1e3);
  printf("# scan 1 MB %.2f ms, 10 MB %.2f ms; load 1 MB %.1f ms (min %.1f), 10 MB %.1f ms (min %.1f), "
         "pugixml %.1f ms (min %.1f); open 10 MB %.1f ms (min %.1f), pugixml %.1f ms (min %.1f) (medians of %d)\n",
         scanSmall * 1e3, scanLarge * 1e3, loadSmall * 1e3, Min(loads[0]) * 1e3, loadLarge * 1e3,
         Min(loads[1]) * 1e3, pugiLoad * 1e3, Min(loads[2]) * 1e3, open * 1e3, Min(opens[0]) * 1e3,
         pugiOpen * 1e3, Min(opens[1]) * 1e3, runs);
  printf("BENCH xml.load10mb.vs_scan %.1f x\n", loadLarge / scanLarge);
  printf("BENCH xml.load10mb.vs_pugixml %.2f x\n", loadLarge / pugiLoad);
  printf("BENCH xml.open10mb.vs_pugixml_file %.2f x\n", open / pugiOpen);
  printf("BENCH xml.scaling %.2f x\n", loadLarge / loadSmall);
  printf("BENCH xml.memory %.2f x\n", ours / fileBytes);
  printf("BENCH xml.memory.vs_pugixml %.2f x\n", ours / theirs);
  return 0;
}
