// MusicBrainzLookup against a real HTTP server on 127.0.0.1 serving recorded
// replies (tests/data/lookup): the four request kinds end to end, the
// failure paths, progress, cancelling, replacing a search, and destruction
// that leaves no thread, handle or file behind.
#include "tools/loopback/HttpServer.h"
#include "tests/support/TestSupport.h"

#include <zorutils/lookup/MusicLookup.h>

#include <atomic>
#include <memory>

namespace {

using zorloopback::HttpReply;
using zorloopback::HttpRequest;

std::string Recorded(const char* name) {
  return zortest::ReadBytes(zortest::ExeDir() + L"\\testdata\\lookup\\" +
                            std::wstring(name, name + strlen(name)));
}

// The replies: by request kind, unless the test says otherwise.
HttpReply Answer(const HttpRequest& request) {
  HttpReply reply;
  const std::string& t = request.target;
  if (t.rfind("/ws/1/artist/?", 0) == 0)
    reply.body = Recorded("artists.xml");
  else if (t.rfind("/ws/1/release/?", 0) == 0)
    reply.body = Recorded("releases.xml");
  else if (t.rfind("/ws/1/release/", 0) == 0)
    reply.body = Recorded("release-tracks.xml");
  else
    reply.status = 404;
  return reply;
}

class Lookup : public ::testing::Test {
protected:
  void SetUp() override {
    folder = dir.path() + L"\\";
    lookup.reset(new MusicBrainzLookup(&session, &folder[0]));
    lookup->SetServer(server.Url().c_str());
  }
  // Waits (at most 20 s) for the search to end; its results.
  bool Finish(int* count = nullptr, CMyList** list = nullptr) {
    for (int i = 0; i < 1000 && !lookup->IsSearchComplete(); ++i) Sleep(20);
    EXPECT_TRUE(lookup->IsSearchComplete());
    bool failed = true;
    int n = -1;
    CMyList* results = nullptr;
    lookup->GetSearchResults(failed, n, results);
    if (count) *count = n;
    if (list) *list = results;
    if (failed) {
      EXPECT_EQ(n, 0);
      EXPECT_EQ(results, nullptr);
    }
    return !failed;
  }
  template <class Record>
  Record* At(CMyList* list, int index) {
    return static_cast<Record*>(list->Index(index, nullptr));
  }
  bool TempFileLeft() {
    return GetFileAttributesW((folder + L"TEMPFILENAME").c_str()) != INVALID_FILE_ATTRIBUTES;
  }

  std::function<HttpReply(const HttpRequest&)> handler = Answer;
  zorloopback::HttpServer server{[this](const HttpRequest& r) { return handler(r); }};
  zortest::TempDir dir;
  std::wstring folder;
  MyInternetAccess session{L"lookup-tests@zorutils.example"};
  std::unique_ptr<MusicBrainzLookup> lookup;
};

TEST_F(Lookup, ArtistsByName) {
  wchar_t name[] = L"sigur%20ros";
  ASSERT_TRUE(lookup->SearchArtists(name, 0));
  EXPECT_FALSE(lookup->IsSearchComplete());  // queued, not done
  int count;
  CMyList* list;
  ASSERT_TRUE(Finish(&count, &list));
  EXPECT_EQ(count, 312);  // the service's total, beyond this page
  ASSERT_EQ(list->NumNodes(), 5);  // the artist without a name is skipped
  const HttpRequest request = server.Requests().at(0);
  EXPECT_EQ(request.target, "/ws/1/artist/?type=xml&offset=0&limit=100&name=sigur%20ros");
  EXPECT_NE(request.userAgent.find("lookup-tests@zorutils.example"), std::string::npos);
  const wchar_t* const names[] = {L"Sigur R\u00f3s",
                                  L"\u5742\u672c\u9f8d\u4e00 (Japanese composer)",
                                  L"\u041c\u0443\u043c\u0438\u0439 \u0422\u0440\u043e\u043b\u043b\u044c",
                                  L"Simon & Garfunkel (folk duo \"S&G\")"};
  for (int i = 0; i < 4; ++i) EXPECT_STREQ(At<TLookupArtist>(list, i)->name, names[i]);
  EXPECT_STREQ(At<TLookupArtist>(list, 0)->id, L"f6f2326f-6b25-4170-b89d-e235b25508e8");
  // A long name gives way to its disambiguation, all within 256 characters.
  const std::wstring longName = At<TLookupArtist>(list, 4)->name;
  EXPECT_EQ(longName.size(), 252u - 4 + 7);
  EXPECT_EQ(longName.substr(longName.size() - 7), L" (long)");
  EXPECT_FALSE(TempFileLeft());
  EXPECT_EQ(lookup->GetPercentageComplete(), 100);
}

TEST_F(Lookup, AlbumsAndSongs) {
  wchar_t artist[] = L"sigur%20ros", title[] = L"takk", id[] = L"f6f2326f";
  ASSERT_TRUE(lookup->SearchAlbums(artist, title, 100));
  int count;
  CMyList* list;
  ASSERT_TRUE(Finish(&count, &list));
  EXPECT_EQ(count, 250);
  ASSERT_EQ(list->NumNodes(), 2);
  const TLookupAlbum* album = At<TLookupAlbum>(list, 0);
  EXPECT_STREQ(album->title, L"Takk\u2026");
  EXPECT_STREQ(album->artist, L"Sigur R\u00f3s");
  EXPECT_STREQ(album->date, L"2005-09-12");  // the first date, an attribute deeper down
  EXPECT_STREQ(album->type, L"Album Official");
  EXPECT_EQ(album->trackCount, 11);
  EXPECT_EQ(At<TLookupAlbum>(list, 1)->trackCount, 0);
  EXPECT_STREQ(At<TLookupAlbum>(list, 1)->date, L"");

  ASSERT_TRUE(lookup->GetAlbums(id, 200));
  ASSERT_TRUE(Finish(&count, &list));
  EXPECT_EQ(list->NumNodes(), 2);

  ASSERT_TRUE(lookup->GetSongs(id));
  ASSERT_TRUE(Finish(&count, &list));
  EXPECT_EQ(count, 4);  // every track element, titled or not
  ASSERT_EQ(list->NumNodes(), 3);
  EXPECT_STREQ(At<TLookupSong>(list, 1)->title, L"Gl\u00f3s\u00f3li");
  EXPECT_EQ(At<TLookupSong>(list, 1)->duration, 375240);
  EXPECT_STREQ(At<TLookupSong>(list, 2)->title, L"Hopp\u00edpolla & Me\u00f0 bl\u00f3\u00f0nasir");
  EXPECT_EQ(At<TLookupSong>(list, 2)->duration, 0);

  const std::vector<HttpRequest> requests = server.Requests();
  ASSERT_EQ(requests.size(), 3u);
  EXPECT_EQ(requests[0].target,
            "/ws/1/release/?type=xml&offset=100&releasetypes=Official&limit=100&artist=sigur%20ros"
            "&title=takk");
  EXPECT_EQ(requests[1].target,
            "/ws/1/release/?type=xml&offset=200&releasetypes=Official&limit=100&artistid=f6f2326f");
  EXPECT_EQ(requests[2].target, "/ws/1/release/f6f2326f?type=xml&inc=tracks");
}

TEST_F(Lookup, FailuresGiveNoResults) {
  struct Case { const char* name; HttpReply reply; };
  HttpReply notFound, unavailable, notXml, noList;
  notFound.status = 404;
  unavailable.status = 503;
  notXml.body = "this is not xml";
  notXml.contentType = "text/plain";
  noList.body = Recorded("no-list.xml");
  for (const Case& c : {Case{"404", notFound}, Case{"503", unavailable}, Case{"not xml", notXml},
                        Case{"no list", noList}}) {
    SCOPED_TRACE(c.name);
    handler = [&](const HttpRequest&) { return c.reply; };
    wchar_t artist[] = L"a", title[] = L"t";
    ASSERT_TRUE(lookup->SearchAlbums(artist, title, 0));
    EXPECT_FALSE(Finish());
    EXPECT_EQ(lookup->GetPercentageComplete(), 100);
    EXPECT_FALSE(TempFileLeft());
  }
  // A download that cannot start, and a lookup without a session.
  lookup->SetServer(L"ftp://127.0.0.1");
  wchar_t id[] = L"x";
  ASSERT_TRUE(lookup->GetSongs(id));
  EXPECT_FALSE(Finish());
  MusicBrainzLookup offline(nullptr, &folder[0]);
  EXPECT_FALSE(offline.GetSongs(id));
  // The service's address: the public one unless set; too long is refused.
  EXPECT_STREQ(offline.Server(), L"http://musicbrainz.org");
  EXPECT_FALSE(offline.SetServer(std::wstring(201, L'h').c_str()));
  EXPECT_TRUE(lookup->SetServer(L""));
  EXPECT_STREQ(lookup->Server(), L"http://musicbrainz.org");
}

TEST_F(Lookup, ProgressCancelAndReplace) {
  std::string big = Recorded("artists.xml");
  big.insert(big.find("</metadata>"), std::string(200000, ' '));
  handler = [&](const HttpRequest& r) {
    HttpReply reply = Answer(r);
    if (r.target.find("name=slow") != std::string::npos) {
      reply.body = big;
      reply.behaviour = HttpReply::kSlow;
      reply.pieceBytes = 8192;
      reply.pieceDelayMs = 10;
    } else if (r.target.find("name=hang") != std::string::npos) {
      reply.behaviour = HttpReply::kHang;
    }
    return reply;
  };
  wchar_t slow[] = L"slow", hang[] = L"hang", id[] = L"r";
  ASSERT_TRUE(lookup->SearchArtists(slow, 0));
  int seenBetween = 0;
  while (!lookup->IsSearchComplete()) {
    const int p = lookup->GetPercentageComplete();
    ASSERT_GE(p, 0);
    ASSERT_LE(p, 100);
    seenBetween += p > 0 && p < 100;
    Sleep(5);
  }
  EXPECT_GT(seenBetween, 0);
  EXPECT_TRUE(Finish());
  EXPECT_EQ(lookup->GetPercentageComplete(), 100);

  ASSERT_TRUE(lookup->SearchArtists(hang, 0));
  Sleep(300);
  lookup->CancelCurrentSearch();
  EXPECT_FALSE(Finish());

  // A new search replaces one still waiting on its reply, and is the one that runs.
  ASSERT_TRUE(lookup->SearchArtists(hang, 0));
  Sleep(300);
  ASSERT_TRUE(lookup->GetSongs(id));
  int count;
  ASSERT_TRUE(Finish(&count));
  EXPECT_EQ(count, 4);
  EXPECT_FALSE(TempFileLeft());
}

TEST_F(Lookup, DestructionLeavesNothingBehind) {
  // Warm up the internet layer, whose own threads stay for the process.
  wchar_t name[] = L"x", hang[] = L"hang";
  ASSERT_TRUE(lookup->SearchArtists(name, 0));
  ASSERT_TRUE(Finish());
  lookup.reset();
  Sleep(200);
  const size_t threads = zortest::ThreadCount(), handles = zortest::HandleCount();

  handler = [](const HttpRequest& r) {
    HttpReply reply = Answer(r);
    if (r.target.find("name=hang") != std::string::npos) reply.behaviour = HttpReply::kHang;
    return reply;
  };
  for (int round = 0; round < 2; ++round) {
    lookup.reset(new MusicBrainzLookup(&session, &folder[0]));
    lookup->SetServer(server.Url().c_str());
    ASSERT_TRUE(lookup->SearchArtists(round ? hang : name, 0));
    if (!round) {
      ASSERT_TRUE(Finish());
    }
    Sleep(200);
    const DWORD start = GetTickCount();
    lookup.reset();  // while the server hangs: waits about 10 s, then stops it
    if (round) {
      EXPECT_GE(GetTickCount() - start, 9000u);
    }
  }
  server.ReleaseHung();
  Sleep(200);
  const size_t threadsAfter = zortest::ThreadCount(), handlesAfter = zortest::HandleCount();
  printf("lookup: threads %u -> %u, handles %u -> %u\n", unsigned(threads), unsigned(threadsAfter),
         unsigned(handles), unsigned(handlesAfter));
  EXPECT_LE(threadsAfter, threads);  // the worker and the downloads are gone
  EXPECT_LE(handlesAfter, handles + 2);
  EXPECT_FALSE(TempFileLeft());
}

}  // namespace
