// MusicBrainzLookupV2 against a real HTTP server on 127.0.0.1 serving
// version-2 replies written by hand in the service's format
// (tests/data/lookup/v2-*.xml, one with a byte-order mark): the four requests as the server sees them,
// paging, escaping, the records, the pace of one request a second across
// lookups, a busy service, and waits that end for cancelling and destruction.
#include "tools/loopback/HttpServer.h"
#include "tests/support/TestSupport.h"

#include <zorutils/internal/TestSeams.h>
#include <zorutils/lookup/MusicLookup.h>

#include <algorithm>
#include <memory>

namespace {

using zorloopback::HttpReply;
using zorloopback::HttpRequest;

std::string Recorded(const std::string& name) {
  return zortest::ReadBytes(zortest::ExeDir() + L"\\testdata\\lookup\\" +
                            std::wstring(name.begin(), name.end()));
}

HttpReply Answer(const HttpRequest& request) {
  HttpReply reply;
  const std::string& t = request.target;
  reply.body = Recorded(t.rfind("/ws/2/artist/", 0) == 0      ? "v2-artists.xml"
                        : t.rfind("/ws/2/release/?", 0) == 0 ? "v2-releases.xml"
                                                               : "v2-release-tracks.xml");
  return reply;
}

class LookupV2 : public ::testing::Test {
protected:
  void SetUp() override { ZorTest_SetLookupPacing(100, 100); }  // a tenth of the real pace
  void TearDown() override {
    lookups.clear();
    ZorTest_SetLookupPacing(0, 0);
  }
  MusicBrainzLookupV2& Lookup(size_t i = 0) {
    while (lookups.size() <= i) {
      lookups.emplace_back(new MusicBrainzLookupV2(&session, &folder[0]));
      lookups.back()->SetServer(server.Url().c_str());
    }
    return *lookups[i];
  }
  // Waits (at most 30 s) for the search to end; its list, null after a failure.
  CMyList* Finish(size_t i = 0, int* count = nullptr) {
    for (int n = 0; n < 1500 && !Lookup(i).IsSearchComplete(); ++n) Sleep(20);
    EXPECT_TRUE(Lookup(i).IsSearchComplete());
    bool failed = true;
    int total = -1;
    CMyList* list = nullptr;
    Lookup(i).GetSearchResults(failed, total, list);
    if (count) *count = total;
    return failed ? nullptr : list;
  }
  std::vector<std::string> Targets() {
    std::vector<std::string> targets;
    for (const HttpRequest& r : server.Requests()) targets.push_back(r.target);
    return targets;
  }

  std::function<HttpReply(const HttpRequest&)> handler = Answer;
  zorloopback::HttpServer server{[this](const HttpRequest& r) { return handler(r); }};
  zortest::TempDir dir;
  std::wstring folder = dir.path() + L"\\";
  MyInternetAccess session{L"zorutils-tests", L"1.0", L"lookup-tests@zorutils.example"};
  std::vector<std::unique_ptr<MusicBrainzLookupV2>> lookups;
};

template <class Record>
Record* At(CMyList* list, int index, long* sort = nullptr) {
  return static_cast<Record*>(list->Index(index, sort));
}

TEST_F(LookupV2, ArtistsPageByPage) {
  int count = 0;
  for (int offset = 0; offset == 0 || offset < count; offset += 100) {
    wchar_t name[] = L"Sigur R\u00f3s";
    ASSERT_TRUE(Lookup().SearchArtists(name, offset));
    CMyList* list = Finish(0, &count);
    ASSERT_TRUE(list);
    ASSERT_EQ(count, 312);
    ASSERT_EQ(list->NumNodes(), 6);  // the artist without a name is left out
  }
  const std::string query = "/ws/2/artist/?query=%22Sigur%20R%C3%B3s%22&limit=100&offset=";
  EXPECT_EQ(Targets(), (std::vector<std::string>{query + "0", query + "100", query + "200", query + "300"}));
  EXPECT_EQ(server.Requests()[0].userAgent, "zorutils-tests/1.0 ( lookup-tests@zorutils.example )");

  CMyList* list = Finish();
  const wchar_t* const names[] = {
      L"Sigur R\u00f3s", L"\u5742\u672c\u9f8d\u4e00 (Japanese composer)",
      L"\u041c\u0443\u043c\u0438\u0439 \u0422\u0440\u043e\u043b\u043b\u044c",
      L"Simon & Garfunkel (folk duo \"S&G\" <1957>)",
      L"\xD834\xDD1E Clef \u00e9nsemble \xD834\xDD22 \xFFFD\xFFFD"};
  for (int i = 0; i < 5; ++i) {
    long score = -1;
    EXPECT_STREQ(At<TLookupArtist>(list, i, &score)->name, names[i]);
    EXPECT_EQ(score, 100 - 10 * i);  // the score, under whatever prefix the reply gives it
  }
  EXPECT_STREQ(At<TLookupArtist>(list, 0)->id, L"f6f2326f-6b25-4170-b89d-e235b25508e8");
  // The name gives way to its disambiguation without splitting a surrogate pair.
  EXPECT_EQ(std::wstring(At<TLookupArtist>(list, 5)->name), std::wstring(247, L'a') + L" (long)");
}

TEST_F(LookupV2, AlbumsAndSongsOfTwoDiscs) {
  wchar_t artist[] = L"Sigur R\u00f3s", title[] = L"Takk", id[] = L"a3b8a9e3-7f1c";
  int count;
  ASSERT_TRUE(Lookup().SearchAlbums(artist, title, 100));
  CMyList* list = Finish(0, &count);
  ASSERT_TRUE(list);
  EXPECT_EQ(count, 250);
  ASSERT_EQ(list->NumNodes(), 2);
  long score;
  const TLookupAlbum* album = At<TLookupAlbum>(list, 0, &score);
  EXPECT_STREQ(album->title, L"Takk\u2026");
  EXPECT_STREQ(album->artist, L"Sigur R\u00f3s");
  EXPECT_STREQ(album->date, L"2005-09-12");
  EXPECT_STREQ(album->type, L"Album Official");
  EXPECT_EQ(album->trackCount, 11);
  EXPECT_EQ(score, 100);
  album = At<TLookupAlbum>(list, 1);  // credited names and join phrases; the event's date; media summed
  EXPECT_STREQ(album->artist, L"Ryuichi Sakamoto & Alva Noto");
  EXPECT_STREQ(album->date, L"2002-11-18");
  EXPECT_EQ(album->trackCount, 10);

  ASSERT_TRUE(Lookup().GetAlbums(id, 200));
  ASSERT_TRUE(Finish());
  ASSERT_TRUE(Lookup().GetSongs(id));
  list = Finish(0, &count);
  ASSERT_TRUE(list);
  EXPECT_EQ(count, 5);
  const wchar_t* const titles[] = {L"Takk\u2026", L"Gl\u00f3s\u00f3li", L"S\u00e9 lest",
                                   L"Hopp\u00edpolla & Me\u00f0 bl\u00f3\u00f0nasir",
                                   L"\u6226\u5834\u306e\u30e1\u30ea\u30fc\u30af\u30ea\u30b9\u30de\u30b9"};
  const int lengths[] = {116000, 375240, 0, 269000, 300000};
  const long numbers[] = {1001, 1002, 1003, 2001, 2002};
  for (int i = 0; i < 5; ++i) {
    long number;
    EXPECT_STREQ(At<TLookupSong>(list, i, &number)->title, titles[i]);
    EXPECT_EQ(At<TLookupSong>(list, i)->duration, lengths[i]);
    EXPECT_EQ(number, numbers[i]);
  }
  EXPECT_EQ(Targets(), (std::vector<std::string>{
                           "/ws/2/release/?query=artist%3A%22Sigur%20R%C3%B3s%22%20AND%20release%3A%22"
                           "Takk%22%20AND%20status%3Aofficial&limit=100&offset=100",
                           "/ws/2/release/?artist=a3b8a9e3-7f1c&status=official&inc=artist-credits+"
                           "release-groups+media&limit=100&offset=200",
                           "/ws/2/release/a3b8a9e3-7f1c?inc=recordings"}));
}

TEST_F(LookupV2, AwkwardTextsAndReplies) {
  handler = [](const HttpRequest&) { return HttpReply{200, Recorded("v2-empty.xml")}; };
  wchar_t quotes[] = L" \"Weird Al\" Yankovic ", slash[] = L"AC/DC", colon[] = L"Sunn O))): AND",
          cyrillic[] = L"\u0411\u0438-2", path[] = L"x/../y?z", blank[] = L"  ";
  for (wchar_t* name : {quotes, slash, colon, cyrillic}) {
    ASSERT_TRUE(Lookup().SearchArtists(name, -5));
    int count = -1;
    CMyList* list = Finish(0, &count);
    ASSERT_TRUE(list);  // an empty result is a result
    EXPECT_EQ(count, 0);
    EXPECT_EQ(list->NumNodes(), 0);
  }
  ASSERT_TRUE(Lookup().SearchAlbums(blank, colon, 0));
  EXPECT_FALSE(Finish());  // an artist list where releases were asked for
  ASSERT_TRUE(Lookup().GetSongs(path));
  EXPECT_FALSE(Finish());
  // Nothing to look for: refused, nothing sent.
  EXPECT_FALSE(Lookup().SearchArtists(blank, 0));
  EXPECT_FALSE(Lookup().SearchArtists(nullptr, 0));
  EXPECT_FALSE(Lookup().SearchAlbums(blank, nullptr, 0));
  EXPECT_FALSE(Lookup().GetAlbums(blank, 0));
  std::wstring huge(700, L'\u6226');
  EXPECT_FALSE(Lookup().SearchArtists(&huge[0], 0));  // 6,300 characters encoded
  const std::string a = "/ws/2/artist/?query=", page = "&limit=100&offset=0";
  EXPECT_EQ(Targets(), (std::vector<std::string>{
                           a + "%22%5C%22Weird%20Al%5C%22%20Yankovic%22" + page,
                           a + "%22AC%5C%2FDC%22" + page,
                           a + "%22Sunn%20O%5C%29%5C%29%5C%29%5C%3A%20AND%22" + page,
                           a + "%22%D0%91%D0%B8%5C-2%22" + page,
                           "/ws/2/release/?query=release%3A%22Sunn%20O%5C%29%5C%29%5C%29%5C%3A%20AND%22"
                           "%20AND%20status%3Aofficial" + page,
                           "/ws/2/release/x%2F..%2Fy%3Fz?inc=recordings"}));

  lookups[0]->SetServer(L"ftp://127.0.0.1");  // a request that cannot start
  ASSERT_TRUE(Lookup().SearchArtists(slash, 0));
  EXPECT_FALSE(Finish());
  lookups[0]->SetServer(server.Url().c_str());
  // Replies the version-2 reader refuses: version 1's format, and no XML.
  for (const char* body : {"artists.xml", "no such file"}) {
    handler = [&](const HttpRequest&) { return HttpReply{200, Recorded(body)}; };
    ASSERT_TRUE(Lookup().SearchArtists(slash, 0));
    EXPECT_FALSE(Finish());
  }
}

// The real pace: two lookups, five searches, and no two requests less than a
// second apart where the server receives them.
TEST_F(LookupV2, OneRequestASecondAcrossLookups) {
  ZorTest_SetLookupPacing(0, 0);
  wchar_t name[] = L"x", id[] = L"y";
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(Lookup(0).SearchArtists(name, 0));
    if (round < 2) {
      ASSERT_TRUE(Lookup(1).GetSongs(id));
    }
    EXPECT_TRUE(Finish(0));
    EXPECT_TRUE(round == 2 || Finish(1));
  }
  std::vector<double> times;
  for (const HttpRequest& r : server.Requests()) times.push_back(r.receivedMs);
  ASSERT_EQ(times.size(), 5u);
  std::sort(times.begin(), times.end());
  for (size_t i = 1; i < times.size(); ++i) EXPECT_GE(times[i] - times[i - 1], 999.0) << i;
}

TEST_F(LookupV2, BusyServiceIsAskedAgainAsItSays) {
  int busyReplies = 1;
  const char* retryAfter = "Retry-After: 3";
  handler = [&](const HttpRequest& r) {
    if (busyReplies-- > 0) return HttpReply{503, "<error/>", "text/xml", true, HttpReply::kNormal, 64, 20, {retryAfter}};
    return Answer(r);
  };
  wchar_t name[] = L"x";
  ASSERT_TRUE(Lookup().SearchArtists(name, 0));
  ASSERT_TRUE(Finish());
  std::vector<HttpRequest> requests = server.Requests();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_GE(requests[1].receivedMs - requests[0].receivedMs, 290.0);  // 3 "seconds" of 100 ms

  busyReplies = 100;  // busy for good: asked three times more, then failed
  retryAfter = "X-None: 1";
  ASSERT_TRUE(Lookup().SearchArtists(name, 0));
  EXPECT_FALSE(Finish());
  EXPECT_EQ(server.Requests().size(), 6u);
  retryAfter = "Retry-After: 61";  // longer than a lookup waits: failed at once
  ASSERT_TRUE(Lookup().SearchArtists(name, 0));
  EXPECT_FALSE(Finish());
  EXPECT_EQ(server.Requests().size(), 7u);
}

TEST_F(LookupV2, WaitsEndForCancelAndDestruction) {
  ZorTest_SetLookupPacing(100, 1000);  // Retry-After in real seconds
  handler = [](const HttpRequest&) {
    return HttpReply{503, "", "text/xml", true, HttpReply::kNormal, 64, 20, {"Retry-After: 30"}};
  };
  wchar_t name[] = L"x";
  ASSERT_TRUE(Lookup(0).SearchArtists(name, 0));
  for (int n = 0; n < 500 && server.Requests().empty(); ++n) Sleep(20);
  Sleep(500);  // its worker reads the reply and holds the process back
  ASSERT_TRUE(Lookup(1).SearchArtists(name, 0));  // held back too: the pause is the process's
  Sleep(300);
  EXPECT_EQ(Lookup(1).GetPercentageComplete(), 0);
  DWORD start = GetTickCount();
  Lookup(0).CancelCurrentSearch();
  EXPECT_FALSE(Finish(0));
  EXPECT_LT(GetTickCount() - start, 5000u);
  start = GetTickCount();
  lookups.clear();
  EXPECT_LT(GetTickCount() - start, 5000u);
  EXPECT_EQ(server.Requests().size(), 1u);
}

}  // namespace
