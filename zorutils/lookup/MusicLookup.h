// CDLookup: asynchronous searches of an online music catalogue for artists,
// albums (releases) and the songs of an album; MusicBrainzLookup answers them
// from the MusicBrainz XML web service (version 1), MusicBrainzLookupV2 from
// version 2 of that interface, the one the service answers today. A host
// chooses the version by the class it creates; everything else is the same.
//
// A search call only queues a request and returns. The lookup's worker
// thread downloads the reply into the temporary folder, parses it, fills the
// list of that kind with fixed-size records and marks the search complete;
// the host polls IsSearchComplete (and GetPercentageComplete for a progress
// bar), then takes the list with GetSearchResults. The lists and records stay
// the lookup's: valid until the next search of the same kind or destruction.
//
// Units: record fields are wchar_t buffers whose sizes count code units
// with the terminator (a text is cut to one less); offsets and counts are
// records; durations are milliseconds; progress is a percentage.
//
// Threads: the host's thread calls everything here; the worker writes the
// flags, kind, counts and lists, which the host reads only once
// IsSearchComplete is true.
//
// Decisions where the classic behaviour was unsafe, kept on purpose:
//  - a search started while another is pending replaces it: the old
//    download stops and the new search is the one that runs (the worker no
//    longer parses a reply under the wrong kind, nor drops a new request
//    that comes while it rests after a search);
//  - the reply file ("TEMPFILENAME" in the temporary folder) is removed once
//    parsed, and a download that fails or is stopped leaves none;
//  - destruction waits up to about 10 seconds for a running download to
//    finish, then stops it and waits for the worker, so no thread, handle or
//    file outlives the lookup.
// Kept as hosts know it: emptying a list frees only its first record.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/MyList.h>
#include <zorutils/text/Locks.h>

#include <zorfutls/InternetDownload.h>

/// One artist: "id" (cut to 127) and the name, with " (disambiguation)"
/// when there is one: the name gives way so that the whole fits in 255
/// (a disambiguation of 252 or more leaves no name and is cut itself).
/// Version 1 cuts by code units (a surrogate pair may be split) and then
/// decodes the name's HTML references (DeHTMLifyString); version 2 decodes
/// first and never splits a pair.
struct TLookupArtist {
  wchar_t id[128];
  wchar_t name[256];
};

/// One release. Texts are cut to their fields as TLookupArtist's are;
/// version 1 also decodes the HTML references of every field but the id.
struct TLookupAlbum {
  wchar_t id[128];
  wchar_t title[256];
  wchar_t artist[256];  // the first artist name below the release
  wchar_t date[64];     // the first date below the release
  wchar_t type[64];
  int trackCount;       // "count" of its track list; 0 when absent or not a number
};

/// One track of a release; its title cut as TLookupArtist's name is.
struct TLookupSong {
  wchar_t title[256];
  int duration;  // milliseconds; 0 when the service gives none (or not a number)
};

/// Search kinds (the kind of the last search, CDLookup::m_kind).
enum TLookupKind {
  kLookupArtists = 0,      // artists by name
  kLookupAlbums = 1,       // releases by artist and title
  kLookupArtistAlbums = 2, // releases of an artist id
  kLookupSongs = 3         // tracks of a release id
};

class ZORUTILS_API CDLookup {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Empty lists, no search yet: not complete, not failed, no result.
  CDLookup();
  /// Frees the lists' entries only; MusicBrainzLookup's destructor empties
  /// them first as EraseArtistsList does.
  virtual ~CDLookup();

  /// Queue a search; true when it was queued. Each call resets the search
  /// at once (not complete, not failed, no result), empties the list of its
  /// kind (so records taken from there before are gone) and replaces a
  /// search still pending. Texts are passed already URL-encoded to
  /// MusicBrainzLookup, plain to MusicBrainzLookupV2; `offset` is the
  /// zero-based first record of a page of 100. MusicBrainzLookup takes null
  /// texts as empty, sends a negative offset as it is, cuts the request's
  /// address to 511 characters, and returns false only without a session.
  virtual bool SearchArtists(wchar_t* name, int offset) = 0;
  virtual bool SearchAlbums(wchar_t* artist, wchar_t* title, int offset) = 0;
  virtual bool GetAlbums(wchar_t* artistId, int offset) = 0;
  virtual bool GetSongs(wchar_t* releaseId) = 0;
  /// Whether the last search has finished, well or not.
  virtual bool IsSearchComplete();
  /// 0..100: the share of the reply received, truncated; 0 while the
  /// request waits or the reply's length is not known; 100 when nothing is
  /// pending or the search failed.
  virtual int GetPercentageComplete() = 0;
  /// After a failure: failed true, count 0, list null. Otherwise the count
  /// the service reports (the total of all pages; for songs the tracks) and
  /// the list of records (TLookupArtist, TLookupAlbum or TLookupSong items),
  /// which stays the lookup's. Before the first search: not failed, count
  /// 0, list null; while a search runs the answer is not settled (call it
  /// once IsSearchComplete is true).
  virtual void GetSearchResults(bool& failed, int& count, CMyList*& list) = 0;
  /// Stops the running download (or keeps a queued one from starting); the
  /// search then ends, usually failed. Nothing when no search is pending.
  virtual void CancelCurrentSearch() = 0;

protected:
  /// Empty a list: frees the record at position 0 and removes every entry;
  /// the other records stay allocated (hosts have always seen it so).
  void EraseArtistsList();
  void EraseAlbumsList();
  void EraseSongsList();

  CMyList m_artists;
  CMyList m_albums;
  CMyList m_songs;
  int m_kind;
  bool m_failed;
  bool m_complete;
  CMyList* m_result;
  int m_resultCount;

private:
  CDLookup(const CDLookup&) = delete;
  CDLookup& operator=(const CDLookup&) = delete;
};

struct TLookupRequest;

class ZORUTILS_API MusicBrainzLookup : public CDLookup {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// `session` (not owned; may be null: every search then returns false)
  /// and the temporary folder, ending in a path separator (cut to 259
  /// characters; null or empty: the current folder); the reply file is that
  /// folder followed by "TEMPFILENAME", cut to 259. Starts the worker.
  MusicBrainzLookup(MyInternetAccess* session, wchar_t* tempFolder);
  /// Stops the worker (waiting up to about 10 seconds for a running
  /// download before stopping it), removes the reply file, empties the lists.
  ~MusicBrainzLookup() override;

  /// The CDLookup operations against version 1 of the service, asking the
  /// server's address followed by (the offset first, texts as given):
  ///   SearchArtists "/ws/1/artist/?type=xml&offset=N&limit=100&name=NAME";
  ///   SearchAlbums  "/ws/1/release/?type=xml&offset=N&releasetypes=Official
  ///                  &limit=100&artist=ARTIST&title=TITLE";
  ///   GetAlbums     "/ws/1/release/?type=xml&offset=N&releasetypes=Official
  ///                  &limit=100&artistid=ID";
  ///   GetSongs      "/ws/1/release/ID?type=xml&inc=tracks".
  /// A reply that is not XML or lacks its list ("artist-list", "release-list"
  /// or "track-list") fails the search; list children without the needed
  /// values ("id" and "name", "id" and "title", "title") are passed over.
  bool SearchArtists(wchar_t* name, int offset) override;
  bool SearchAlbums(wchar_t* artist, wchar_t* title, int offset) override;
  bool GetAlbums(wchar_t* artistId, int offset) override;
  bool GetSongs(wchar_t* releaseId) override;
  int GetPercentageComplete() override;
  void GetSearchResults(bool& failed, int& count, CMyList*& list) override;
  void CancelCurrentSearch() override;

  /// The service's address: scheme, host and optionally port, without a
  /// trailing slash ("http://musicbrainz.org" unless set). Null or empty
  /// restores it; longer than 200 characters is refused (false, the address
  /// unchanged). Not checked otherwise; takes effect from the next search.
  bool SetServer(const wchar_t* baseUrl);
  /// The service's address the searches use.
  const wchar_t* Server() const { return m_server; }

protected:
  /// What the search calls share: resets the search of `kind`, empties its
  /// list and queues a request for the server's address followed by `path`,
  /// in version `protocol` (1 or 2) of the service's interface. Version 1
  /// cuts the address to 511 characters, version 2 to 2047. False without
  /// a session, and when the worker thread could not be started (the search
  /// is then complete and failed, so a polling host is not kept waiting).
  bool Queue(int kind, const wchar_t* path, int protocol = 1);

private:
  MusicBrainzLookup(const MusicBrainzLookup&) = delete;
  MusicBrainzLookup& operator=(const MusicBrainzLookup&) = delete;

  static DWORD WINAPI WorkerMain(void* self);
  void Work();
  void Parse(const wchar_t* file);
  void Fail();
  // Version 2: requests paced for the whole process and retried when the
  // service is busy (MusicLookupV2.cpp), and its replies.
  void FetchPaced(unsigned serial, const wchar_t* file);
  static bool StopWaiting(void* wait);
  void ParseV2(const wchar_t* file);

  CLock m_lock;
  MyInternetAccess* m_session;
  wchar_t m_tempFolder[260];
  HANDLE m_thread;
  DWORD m_threadId;
  volatile long m_quit;
  TLookupRequest* m_pending;
  HANDLE m_threadJoin;  // the worker's handle, kept to wait for and close
  wchar_t m_server[201];
};

/// The lookup against version 2 of the service's XML interface ("/ws/2/"),
/// the one the service answers today. Same records, lists, polling,
/// progress, cancelling and replacing of searches as MusicBrainzLookup, of
/// which it is a MusicBrainzLookup adding no data (so SetServer works too).
///
/// Texts are plain: unlike version 1, the host passes names and titles as
/// the user typed them (not URL-encoded). The lookup quotes them as phrases
/// of the service's Lucene query syntax (a backslash before each of
/// + - & | ! ( ) { } [ ] ^ " ~ * ? : \ /, so "AND" or a colon is just text),
/// encodes them as UTF-8 and percent-encodes the result. Ids are
/// percent-encoded too. A search with nothing to look for (null or blank
/// texts), or whose request would exceed 2,047 characters, returns false and
/// queues nothing. A negative offset counts as 0.
///
/// Requests: SearchArtists "/ws/2/artist/?query=<"name">&limit=100&offset=N";
/// SearchAlbums "/ws/2/release/?query=<artist:"a" AND release:"t" AND
/// status:official>&limit=100&offset=N" (either text may be blank);
/// GetAlbums "/ws/2/release/?artist=ID&status=official&inc=artist-credits+
/// release-groups+media&limit=100&offset=N"; GetSongs
/// "/ws/2/release/ID?inc=recordings".
///
/// Replies: a "metadata" element in the "http://musicbrainz.org/ns/mmd-2.0#"
/// namespace, else the search fails. Texts are decoded from UTF-8 (characters
/// beyond the first 65,536 as surrogate pairs) and from XML references, then
/// cut to their field without splitting a pair. In the lists each record's
/// sort value carries what the records have no field for: the search score
/// (the "score" attribute of "http://musicbrainz.org/ns/ext#-2.0", whatever
/// its prefix; 0 when absent) for artists and albums, and for songs the disc
/// and track number as disc x 1000 + track (2003: disc 2, track 3). Songs
/// cover every medium in order; a track's title and length come from the
/// track, else from its recording; "length" is in milliseconds (0 when
/// absent); the count is the number of tracks. An album's artist is its
/// artist credit as written (credited names with their join phrases), its
/// date the release's date, its type the release group's type and the
/// release's status ("Album Official"), its track count the sum over its
/// media.
///
/// Good citizenship, as the service asks of its callers:
///  - the user agent is the session's (MyInternetAccess): give it the host's
///    name, version and a contact, "name/version ( contact )";
///  - at most one request a second from the whole process, whatever the
///    number of lookups: a request waits its turn (its progress shows 0);
///  - a 503 reply (the service is busy) is asked again after the delay its
///    Retry-After header names (1 second when it names none), at most 3
///    times; then, or when the delay asked is over 60 seconds, the search
///    fails. The other lookups of the process hold back for that delay too.
/// These waits end at once for a cancelled or replaced search and for
/// destruction.
class ZORUTILS_API MusicBrainzLookupV2 : public MusicBrainzLookup {
public:
  /// As MusicBrainzLookup's.
  MusicBrainzLookupV2(MyInternetAccess* session, wchar_t* tempFolder);
  ~MusicBrainzLookupV2() override;

  bool SearchArtists(wchar_t* name, int offset) override;
  bool SearchAlbums(wchar_t* artist, wchar_t* title, int offset) override;
  bool GetAlbums(wchar_t* artistId, int offset) override;
  bool GetSongs(wchar_t* releaseId) override;

private:
  MusicBrainzLookupV2(const MusicBrainzLookupV2&) = delete;
  MusicBrainzLookupV2& operator=(const MusicBrainzLookupV2&) = delete;
  bool QueueV2(int kind, const wchar_t* path);
};

static_assert(sizeof(MusicBrainzLookupV2) == sizeof(MusicBrainzLookup),
              "the version-2 lookup adds behaviour, not data");
