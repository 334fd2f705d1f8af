// CDLookup and MusicBrainzLookup: requests queued by the host's thread,
// downloaded and parsed by the lookup's worker.
#include <zorutils/lookup/MusicLookup.h>

#include <zorutils/formats/XMLFile.h>
#include <zorutils/internal/CopyCut.h>
#include <zorutils/internal/FormatTo.h>
#include <zorutils/internal/LookupRequest.h>
#include <zorutils/text/HtmlEntities.h>

#include <cstdlib>
#include <cwchar>

namespace {

const wchar_t kDefaultServer[] = L"http://musicbrainz.org";
const DWORD kPollMs = 50;
const DWORD kRestAfterSearchMs = 1000;  // the service asks for one request a second
const int kQuitPolls = 200;             // 200 x 50 ms: how long destruction waits

// Copies at most `size` - 1 units of `from` (null: nothing) and terminates.
// A cleaned text field: cut to the field, then its references decoded.
void CopyClean(wchar_t* to, size_t size, const wchar_t* from) {
  zor::CopyCut(to, size, from);
  DeHTMLifyString(to, static_cast<unsigned>(size));
}

int Number(const wchar_t* text) { return text ? _wtoi(text) : 0; }

// Where every reply of a lookup goes: the temporary folder (ending in a path
// separator) followed by the fixed name.
void ReplyFile(wchar_t (&file)[260], const wchar_t* folder) {
  zor::FormatTo(file, L"%sTEMPFILENAME", folder);
}

template <class Record>
Record* NewRecord() {
  return static_cast<Record*>(calloc(1, sizeof(Record)));
}

}  // namespace

namespace {
volatile long g_requestSerial = 0;
}  // namespace

// --- CDLookup ----------------------------------------------------------------------

CDLookup::CDLookup()
    : m_kind(kLookupArtists), m_failed(false), m_complete(false), m_result(nullptr),
      m_resultCount(0) {}

CDLookup::~CDLookup() {}

bool CDLookup::IsSearchComplete() { return m_complete; }

// Frees the record at position 0 and unlinks every entry: the records after
// the first stay allocated, as hosts of this interface have always seen it.
static void EraseList(CMyList& list) {
  free(list.Index(0, nullptr));
  list.RemoveAll();
}

void CDLookup::EraseArtistsList() { EraseList(m_artists); }
void CDLookup::EraseAlbumsList() { EraseList(m_albums); }
void CDLookup::EraseSongsList() { EraseList(m_songs); }

// --- MusicBrainzLookup: the host's side ------------------------------------------------

MusicBrainzLookup::MusicBrainzLookup(MyInternetAccess* session, wchar_t* tempFolder)
    : m_session(session),
      m_tempFolder(),
      m_thread(nullptr),
      m_threadId(0),
      m_quit(0),
      m_pending(nullptr),
      m_threadJoin(nullptr),
      m_server() {
  zor::CopyCut(m_tempFolder, 260, tempFolder);
  wcscpy(m_server, kDefaultServer);
  m_thread = ::CreateThread(nullptr, 0, WorkerMain, this, 0, &m_threadId);
  m_threadJoin = m_thread;
}

MusicBrainzLookup::~MusicBrainzLookup() {
  ::InterlockedExchange(&m_quit, 1);
  // A download under way may finish within the wait; after it, it is stopped
  // so that the worker ends and can be waited for.
  for (int i = 0; i < kQuitPolls && *static_cast<HANDLE volatile*>(&m_thread); ++i)
    ::Sleep(kPollMs);
  if (m_threadJoin) {
    CancelCurrentSearch();
    ::WaitForSingleObject(m_threadJoin, INFINITE);
    ::CloseHandle(m_threadJoin);
  }
  delete m_pending;
  m_pending = nullptr;
  wchar_t file[260];
  ReplyFile(file, m_tempFolder);
  ::DeleteFileW(file);
  EraseArtistsList();
  EraseAlbumsList();
  EraseSongsList();
}

bool MusicBrainzLookup::SetServer(const wchar_t* baseUrl) {
  if (!baseUrl || !*baseUrl) baseUrl = kDefaultServer;
  if (wcslen(baseUrl) > 200) return false;
  wcscpy(m_server, baseUrl);
  return true;
}

bool MusicBrainzLookup::Queue(int kind, const wchar_t* path, int protocol) {
  if (!m_session) return false;
  m_kind = kind;
  m_failed = false;
  m_complete = false;
  m_result = nullptr;
  m_resultCount = 0;
  if (kind == kLookupArtists)
    EraseArtistsList();
  else if (kind == kLookupSongs)
    EraseSongsList();
  else
    EraseAlbumsList();
  // Without its worker (the system refused the thread) no search would ever
  // end: this one fails at once, so a host polling IsSearchComplete stops.
  if (!m_threadJoin) {
    m_failed = true;
    m_complete = true;
    return false;
  }

  TLookupRequest* request = new TLookupRequest;
  request->serial = static_cast<unsigned>(::InterlockedIncrement(&g_requestSerial));
  request->cancelled = false;
  request->protocol = protocol;
  ReplyFile(request->file, m_tempFolder);
  if (protocol == 1) {
    wchar_t url[512];
    zor::FormatTo(url, L"%s%s", m_server, path);
    wcscpy(request->url, url);
  } else {
    zor::FormatTo(request->url, L"%s%s", m_server, path);
  }
  m_lock.Lock();
  TLookupRequest* replaced = m_pending;
  m_pending = request;
  m_lock.Unlock();
  delete replaced;  // stops its download, if it was running
  return true;
}

// The request paths: the offset first, then the texts as given (already
// URL-encoded by the host).
bool MusicBrainzLookup::SearchArtists(wchar_t* name, int offset) {
  wchar_t path[512];
  zor::FormatTo(path, L"/ws/1/artist/?type=xml&offset=%i&limit=100&name=%s", offset,
                name ? name : L"");
  return Queue(kLookupArtists, path);
}

bool MusicBrainzLookup::SearchAlbums(wchar_t* artist, wchar_t* title, int offset) {
  wchar_t path[512];
  zor::FormatTo(path,
                L"/ws/1/release/?type=xml&offset=%i&releasetypes=Official&limit=100&artist=%s"
                L"&title=%s",
                offset, artist ? artist : L"", title ? title : L"");
  return Queue(kLookupAlbums, path);
}

bool MusicBrainzLookup::GetAlbums(wchar_t* artistId, int offset) {
  wchar_t path[512];
  zor::FormatTo(path,
                L"/ws/1/release/?type=xml&offset=%i&releasetypes=Official&limit=100&artistid=%s",
                offset, artistId ? artistId : L"");
  return Queue(kLookupArtistAlbums, path);
}

bool MusicBrainzLookup::GetSongs(wchar_t* releaseId) {
  wchar_t path[512];
  zor::FormatTo(path, L"/ws/1/release/%s?type=xml&inc=tracks", releaseId ? releaseId : L"");
  return Queue(kLookupSongs, path);
}

int MusicBrainzLookup::GetPercentageComplete() {
  m_lock.Lock();
  int percent = 100;
  if (m_pending && !m_failed) {
    const unsigned long total = m_pending->download.TotalBytes();
    const unsigned long received = m_pending->download.ReceivedBytes();
    // A reply that announced no length shows no progress until it is done.
    percent = total ? static_cast<int>(received * 100.0 / total) : 0;
    if (percent > 100) percent = 100;
  }
  m_lock.Unlock();
  return percent;
}

void MusicBrainzLookup::GetSearchResults(bool& failed, int& count, CMyList*& list) {
  failed = m_failed;
  count = m_failed ? 0 : m_resultCount;
  list = m_failed ? nullptr : m_result;
}

void MusicBrainzLookup::CancelCurrentSearch() {
  m_lock.Lock();
  if (m_pending) {
    m_pending->cancelled = true;
    m_pending->download.TerminateDownload();
  }
  m_lock.Unlock();
}

// --- The worker ---------------------------------------------------------------------

DWORD WINAPI MusicBrainzLookup::WorkerMain(void* self) {
  static_cast<MusicBrainzLookup*>(self)->Work();
  return 0;
}

void MusicBrainzLookup::Work() {
  while (!m_quit) {
    // The request is only touched under the lock, and known by its serial
    // number: the host may replace (and free) it at any time.
    m_lock.Lock();
    TLookupRequest* request = m_pending;
    const unsigned serial = request ? request->serial : 0;
    const bool paced = request && request->protocol == 2;
    wchar_t file[260] = L"";
    bool started = false;
    if (request) {
      wcscpy(file, request->file);
      started = !paced && !request->cancelled &&
                request->download.StartDownload(m_session, request->url, file, 0) != 0;
    }
    m_lock.Unlock();

    if (paced) {
      // Waits its turn, retries a busy service, parses (MusicLookupV2.cpp).
      FetchPaced(serial, file);
    } else if (request) {
      if (!started) Fail();
      // Wait while the download runs. A newer request replaces this one (and
      // stops its download); it is then taken in the next round instead.
      bool current = started;
      while (current) {
        m_lock.Lock();
        current = m_pending && m_pending->serial == serial;
        const bool busy = current && m_pending->download.IsBusy();
        m_lock.Unlock();
        if (!busy) break;
        ::Sleep(kPollMs);
      }
      if (current) {
        Parse(file);
        for (DWORD rested = 0; rested < kRestAfterSearchMs && !m_quit; rested += kPollMs)
          ::Sleep(kPollMs);
      }
    }
    if (request) {
      m_lock.Lock();
      TLookupRequest* done = m_pending && m_pending->serial == serial ? m_pending : nullptr;
      if (done) m_pending = nullptr;
      m_lock.Unlock();
      delete done;
    }
    ::Sleep(kPollMs);
  }
  ::InterlockedExchangePointer(&m_thread, nullptr);
}

void MusicBrainzLookup::Fail() {
  m_result = nullptr;
  m_resultCount = 0;
  m_failed = true;
  m_complete = true;
}

void MusicBrainzLookup::Parse(const wchar_t* file) {
  CXMLFile xml;
  const bool opened = m_kind >= kLookupArtists && m_kind <= kLookupSongs && xml.Open(file);
  ::DeleteFileW(file);
  if (!opened) return Fail();

  if (m_kind == kLookupArtists) {
    CXMLNode* list = xml.FindNode(L"artist-list");
    if (!list) return Fail();
    m_resultCount = Number(list->GetValue(L"count"));
    for (int i = 0; i < list->NumChildren(); ++i) {
      const CXMLNode* artist = list->GetChild(i);
      const wchar_t* id = artist->GetValue(L"id");
      const wchar_t* name = artist->GetValue(L"name");
      if (!id || !name) continue;
      TLookupArtist* record = NewRecord<TLookupArtist>();
      if (!record) break;
      zor::CopyCut(record->id, 128, id);
      const wchar_t* disambiguation = artist->GetValue(L"disambiguation");
      if (disambiguation) {
        // The name gives way so that " (disambiguation)" fits.
        const long room = 252 - static_cast<long>(wcslen(disambiguation));
        if (room > 0) zor::CopyCut(record->name, static_cast<size_t>(room) + 1, name);
        const size_t used = wcslen(record->name);
        _snwprintf(record->name + used, 255 - used, L" (%s)", disambiguation);
        record->name[255] = 0;
      } else {
        zor::CopyCut(record->name, 256, name);
      }
      DeHTMLifyString(record->name, 256);
      m_artists.AppendToTail(record, 0);
    }
    m_result = &m_artists;
  } else if (m_kind == kLookupSongs) {
    CXMLNode* list = xml.FindNode(L"track-list");
    if (!list) return Fail();
    m_resultCount = list->NumChildren();
    for (int i = 0; i < list->NumChildren(); ++i) {
      const CXMLNode* track = list->GetChild(i);
      const wchar_t* title = track->GetValue(L"title");
      if (!title) continue;
      TLookupSong* record = NewRecord<TLookupSong>();
      if (!record) break;
      CopyClean(record->title, 256, title);
      record->duration = Number(track->GetValue(L"duration"));
      m_songs.AppendToTail(record, 0);
    }
    m_result = &m_songs;
  } else {
    CXMLNode* list = xml.FindNode(L"release-list");
    if (!list) return Fail();
    m_resultCount = Number(list->GetValue(L"count"));
    for (int i = 0; i < list->NumChildren(); ++i) {
      const CXMLNode* release = list->GetChild(i);
      const wchar_t* id = release->GetValue(L"id");
      const wchar_t* title = release->GetValue(L"title");
      if (!id || !title) continue;
      TLookupAlbum* record = NewRecord<TLookupAlbum>();
      if (!record) break;
      zor::CopyCut(record->id, 128, id);
      CopyClean(record->title, 256, title);
      CopyClean(record->artist, 256, release->GetValue(L"name", true));
      CopyClean(record->date, 64, release->GetValue(L"date", true));
      CopyClean(record->type, 64, release->GetValue(L"type"));
      const CXMLNode* tracks = release->GetChildByName(L"track-list");
      record->trackCount = tracks ? Number(tracks->GetValue(L"count")) : 0;
      m_albums.AppendToTail(record, 0);
    }
    m_result = &m_albums;
  }
  m_failed = false;
  m_complete = true;
}
