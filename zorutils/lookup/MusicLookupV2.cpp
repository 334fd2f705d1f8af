// MusicBrainzLookupV2: the requests of version 2 of the service's interface,
// the worker's paced fetching with retries, and the reading of its replies.
#include <zorutils/lookup/MusicLookup.h>

#include <zorutils/formats/XMLFile.h>
#include <zorutils/internal/LookupRequest.h>
#include <zorutils/internal/ServicePacing.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>

namespace {

const wchar_t kMmdNamespace[] = L"http://musicbrainz.org/ns/mmd-2.0#";
const wchar_t kExtNamespace[] = L"http://musicbrainz.org/ns/ext#-2.0";
const DWORD kPollMs = 50;
const int kBusyRetries = 3;                 // a 503 is asked again this often
const unsigned long kLongestPauseSeconds = 60;  // a longer Retry-After fails the search
const size_t kUrlChars = 2048;

// --- Requests ------------------------------------------------------------------

// The text without blanks, tabs or line breaks around it.
std::wstring Trimmed(const wchar_t* text) {
  std::wstring s = text ? text : L"";
  const size_t first = s.find_first_not_of(L" \t\r\n");
  if (first == std::wstring::npos) return L"";
  return s.substr(first, s.find_last_not_of(L" \t\r\n") - first + 1);
}

// One phrase of Lucene's query syntax: in quotes, with a backslash before
// every character the syntax gives a meaning to. Inside the quotes "AND",
// "OR" and "NOT" are plain words. Other control characters become blanks.
std::wstring Phrase(const std::wstring& text) {
  std::wstring out = L"\"";
  for (wchar_t c : text) {
    if (c < 0x20) c = L' ';
    if (wcschr(L"+-&|!(){}[]^\"~*?:\\/", c)) out += L'\\';
    out += c;
  }
  return out + L"\"";
}

// UTF-8, percent-encoded: only letters, digits and "-._~" stand as they are.
// A lone surrogate goes as U+FFFD.
std::wstring Encoded(const std::wstring& text) {
  std::wstring out;
  if (text.empty()) return out;
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                        nullptr, 0, nullptr, nullptr);
  if (bytes <= 0) return out;
  std::string utf8(static_cast<size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &utf8[0], bytes,
                      nullptr, nullptr);
  static const wchar_t kHex[] = L"0123456789ABCDEF";
  for (unsigned char b : utf8) {
    if ((b >= 'A' && b <= 'Z') || (b >= 'a' && b <= 'z') || (b >= '0' && b <= '9') || b == '-' ||
        b == '.' || b == '_' || b == '~') {
      out += static_cast<wchar_t>(b);
    } else {
      out += L'%';
      out += kHex[b >> 4];
      out += kHex[b & 15];
    }
  }
  return out;
}

// --- Replies ---------------------------------------------------------------------

// A text of the reply with its character and entity references decoded, as
// XML has them (the five named ones and numeric ones); anything else stays.
std::wstring Decoded(const wchar_t* text) {
  std::wstring out;
  if (!text) return out;
  for (const wchar_t* p = text; *p;) {
    if (*p != L'&') {
      out += *p++;
      continue;
    }
    const wchar_t* end = wcschr(p, L';');
    if (!end || end - p > 12) {
      out += *p++;
      continue;
    }
    const std::wstring name(p + 1, end);
    static const struct { const wchar_t* name; wchar_t c; } kNamed[] = {
        {L"amp", L'&'}, {L"lt", L'<'}, {L"gt", L'>'}, {L"quot", L'"'}, {L"apos", L'\''}};
    bool done = false;
    for (const auto& n : kNamed)
      if (name == n.name) {
        out += n.c;
        done = true;
      }
    if (!done && name.size() > 1 && name[0] == L'#') {
      const bool hex = name[1] == L'x' || name[1] == L'X';
      const std::wstring digits = name.substr(hex ? 2 : 1);
      wchar_t* stop = nullptr;
      const unsigned long code = digits.empty() ? 0 : wcstoul(digits.c_str(), &stop, hex ? 16 : 10);
      if (!digits.empty() && stop && !*stop && iswxdigit(digits[0])) {
        if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
          out += static_cast<wchar_t>(0xFFFD);
        } else if (code >= 0x10000) {
          out += static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
          out += static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
          out += static_cast<wchar_t>(code);
        }
        done = true;
      }
    }
    if (done) {
      p = end + 1;
    } else {
      out += *p++;
    }
  }
  return out;
}

// Copies into a field of `size` characters, cut so that no surrogate pair
// is split.
void CopySafe(wchar_t* to, size_t size, const std::wstring& from) {
  size_t n = from.size() < size - 1 ? from.size() : size - 1;
  if (n < from.size() && n > 0 && from[n - 1] >= 0xD800 && from[n - 1] <= 0xDBFF) --n;
  wmemcpy(to, from.data(), n);
  to[n] = 0;
}

std::wstring Text(const CXMLNode* node, const wchar_t* name) {
  return node ? Decoded(node->GetValue(name)) : std::wstring();
}

int Number(const wchar_t* text) { return text ? _wtoi(text) : 0; }

// The parser trims attribute values, but the blanks around a join phrase
// (" & ", " feat. ") are part of the credit: written as references they
// survive, and Decoded turns them back into blanks. XML reads any white space
// in a value as a blank.
std::wstring KeepValueBlanks(const std::wstring& text) {
  std::wstring out;
  out.reserve(text.size());
  bool inTag = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const wchar_t c = text[i];
    if (c == L'<') inTag = true;
    if (c == L'>') inTag = false;
    const size_t close = inTag && c == L'"' ? text.find(L'"', i + 1) : std::wstring::npos;
    if (close == std::wstring::npos) {
      out += c;
      continue;
    }
    const std::wstring value = text.substr(i + 1, close - i - 1);
    const size_t begin = value.find_first_not_of(L" \t\r\n");
    const size_t end = begin == std::wstring::npos ? 0 : value.find_last_not_of(L" \t\r\n") + 1;
    out += L'"';
    for (size_t k = 0; k < value.size(); ++k)
      if (k < begin || k >= end)
        out += L"&#32;";
      else
        out += value[k];
    out += L'"';
    i = close;
  }
  return out;
}

// The reply as UTF-16 for the parser: decoded from UTF-8 here (invalid bytes
// become U+FFFD), and with the XML declaration blanked out, which would make
// the parser decode it a second time. Empty when unreadable.
std::wstring ReadReply(const wchar_t* file) {
  std::string bytes;
  if (FILE* f = _wfopen(file, L"rb")) {
    char buffer[16384];
    for (size_t got; (got = fread(buffer, 1, sizeof buffer, f)) > 0;) bytes.append(buffer, got);
    fclose(f);
  }
  size_t start = bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
  std::wstring text;
  if (bytes.size() <= start || bytes.size() - start > 0x7FFFFFF0u) return text;
  const int bytesIn = static_cast<int>(bytes.size() - start);
  const int chars = MultiByteToWideChar(CP_UTF8, 0, bytes.data() + start, bytesIn, nullptr, 0);
  if (chars <= 0) return text;
  text.assign(static_cast<size_t>(chars), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, bytes.data() + start, bytesIn, &text[0], chars);
  text.resize(wcslen(text.c_str()));  // the parser reads up to the first zero
  const size_t first = text.find_first_not_of(L" \t\r\n");
  if (first != std::wstring::npos && text.compare(first, 5, L"<?xml") == 0) {
    const size_t end = text.find(L"?>", first);
    if (end != std::wstring::npos) text.replace(first, end + 2 - first, end + 2 - first, L' ');
  }
  return KeepValueBlanks(text);
}

// The name the score attribute goes by in `node`: the prefix bound to the
// extension namespace there or on the document element, then ":score".
std::wstring ScoreName(const CXMLNode* node, const std::wstring& inherited) {
  for (int i = 0; node && i < node->NumHeaderProperties(); ++i) {
    const CXMLValue* v = node->GetHeaderProperty(i);
    if (v->FieldName() && v->Value() && wcsncmp(v->FieldName(), L"xmlns:", 6) == 0 &&
        Decoded(v->Value()) == kExtNamespace)
      return std::wstring(v->FieldName() + 6) + L":score";
  }
  return inherited;
}

int Score(const CXMLNode* node, const std::wstring& inherited) {
  const std::wstring name = ScoreName(node, inherited);
  return name.empty() ? 0 : Number(node->GetValue(name.c_str()));
}

bool Named(const CXMLNode* node, const wchar_t* name) {
  return node && node->Name() && wcscmp(node->Name(), name) == 0;
}

// The artist credit as written: each credited name (the name-credit's own
// name, else its artist's) followed by its join phrase.
std::wstring Credit(const CXMLNode* credit) {
  std::wstring out;
  for (int i = 0; credit && i < credit->NumChildren(); ++i) {
    const CXMLNode* part = credit->GetChild(i);
    if (!Named(part, L"name-credit")) continue;
    std::wstring name = Text(part, L"name");
    if (name.empty()) name = Text(part->GetChildByName(L"artist"), L"name");
    out += name + Decoded(part->GetValue(L"joinphrase"));
  }
  return out;
}

template <class Record>
Record* NewRecord() {
  return static_cast<Record*>(calloc(1, sizeof(Record)));
}

struct Wait {
  MusicBrainzLookup* lookup;
  unsigned serial;
};

}  // namespace

// --- The worker's side ------------------------------------------------------------

// Whether a wait for the service must end: the lookup is going, or its search
// was cancelled or replaced.
bool MusicBrainzLookup::StopWaiting(void* wait) {
  const Wait* w = static_cast<const Wait*>(wait);
  MusicBrainzLookup* me = w->lookup;
  if (me->m_quit) return true;
  me->m_lock.Lock();
  const bool stop = !me->m_pending || me->m_pending->serial != w->serial || me->m_pending->cancelled;
  me->m_lock.Unlock();
  return stop;
}

void MusicBrainzLookup::FetchPaced(unsigned serial, const wchar_t* file) {
  Wait wait = {this, serial};
  for (int attempt = 0;; ++attempt) {
    if (!zor::TakeServiceTurn(StopWaiting, &wait)) break;
    m_lock.Lock();
    const bool started = !m_quit && m_pending && m_pending->serial == serial &&
                         !m_pending->cancelled &&
                         m_pending->download.StartDownload(m_session, m_pending->url, file, 0) != 0;
    m_lock.Unlock();
    if (!started) {
      zor::ServiceRequestArrived();  // nothing was sent, but keep to the pace
      break;
    }
    bool current = true, arrived = false, busy = true;
    unsigned long status = 0, pause = 0;
    while (busy) {
      m_lock.Lock();
      current = m_pending && m_pending->serial == serial;
      busy = current && m_pending->download.IsBusy();
      status = current ? m_pending->download.StatusCode() : 0;
      pause = current ? m_pending->download.RetryAfterSeconds() : 0;
      m_lock.Unlock();
      // The reply has begun (or the download is over): the request has
      // reached the service, and the process's next one waits from here.
      if (!arrived && (status || !busy)) {
        zor::ServiceRequestArrived();
        arrived = true;
      }
      if (busy) ::Sleep(kPollMs);
    }
    if (!current) return;  // replaced: the new search is taken in the next round
    if (status == 503 && attempt < kBusyRetries && !StopWaiting(&wait)) {
      if (pause == 0) pause = 1;
      if (pause > kLongestPauseSeconds) break;
      zor::HoldServiceRequests(pause);
      continue;
    }
    return ParseV2(file);  // a refused or stopped download left no file: a failure
  }
  if (!m_quit) {
    m_lock.Lock();
    const bool current = m_pending && m_pending->serial == serial;
    m_lock.Unlock();
    if (current) Fail();
  }
}

void MusicBrainzLookup::ParseV2(const wchar_t* file) {
  std::wstring text = ReadReply(file);
  ::DeleteFileW(file);
  CXMLFile xml;
  if (m_kind < kLookupArtists || m_kind > kLookupSongs || text.empty() || !xml.LoadFromBuffer(&text[0]))
    return Fail();
  const CXMLNode* metadata = xml.FindNode(L"metadata");
  if (!Named(metadata, L"metadata") || Decoded(metadata->GetValue(L"xmlns")) != kMmdNamespace)
    return Fail();
  const std::wstring scoreName = ScoreName(metadata, L"");

  if (m_kind == kLookupArtists) {
    const CXMLNode* list = metadata->GetChildByName(L"artist-list");
    if (!Named(list, L"artist-list")) return Fail();
    m_resultCount = Number(list->GetValue(L"count"));
    for (int i = 0; i < list->NumChildren(); ++i) {
      const CXMLNode* artist = list->GetChild(i);
      const std::wstring id = Decoded(artist->GetValue(L"id"));
      const std::wstring name = Text(artist, L"name");
      if (!Named(artist, L"artist") || id.empty() || name.empty()) continue;
      TLookupArtist* record = NewRecord<TLookupArtist>();
      if (!record) break;
      CopySafe(record->id, 128, id);
      const std::wstring disambiguation = Text(artist, L"disambiguation");
      if (disambiguation.empty()) {
        CopySafe(record->name, 256, name);
      } else {
        // The name gives way so that " (disambiguation)" fits.
        const long room = 252 - static_cast<long>(disambiguation.size());
        CopySafe(record->name, room > 0 ? static_cast<size_t>(room) + 1 : 1, name);
        CopySafe(record->name, 256, record->name + (L" (" + disambiguation + L")"));
      }
      m_artists.AppendToTail(record, Score(artist, scoreName));
    }
    m_result = &m_artists;
  } else if (m_kind == kLookupSongs) {
    const CXMLNode* release = metadata->GetChildByName(L"release");
    const CXMLNode* media = release ? release->GetChildByName(L"medium-list") : nullptr;
    if (!Named(media, L"medium-list")) return Fail();
    m_resultCount = 0;
    for (int m = 0; m < media->NumChildren(); ++m) {
      const CXMLNode* medium = media->GetChild(m);
      if (!Named(medium, L"medium")) continue;
      const int position = Number(medium->GetValue(L"position"));
      const int discNumber = position > 0 ? position : m + 1;
      const CXMLNode* tracks = medium->GetChildByName(L"track-list");
      for (int t = 0, index = 0; tracks && t < tracks->NumChildren(); ++t) {
        const CXMLNode* track = tracks->GetChild(t);
        if (!Named(track, L"track")) continue;
        ++index;
        ++m_resultCount;
        const CXMLNode* recording = track->GetChildByName(L"recording");
        std::wstring title = Text(track, L"title");
        if (title.empty()) title = Text(recording, L"title");
        if (title.empty()) continue;
        TLookupSong* record = NewRecord<TLookupSong>();
        if (!record) break;
        CopySafe(record->title, 256, title);
        const wchar_t* length = track->GetValue(L"length");
        if (!length && recording) length = recording->GetValue(L"length");
        record->duration = Number(length);
        const int number = Number(track->GetValue(L"position"));
        m_songs.AppendToTail(record, discNumber * 1000 + (number > 0 ? number : index));
      }
    }
    m_result = &m_songs;
  } else {
    const CXMLNode* list = metadata->GetChildByName(L"release-list");
    if (!Named(list, L"release-list")) return Fail();
    m_resultCount = Number(list->GetValue(L"count"));
    for (int i = 0; i < list->NumChildren(); ++i) {
      const CXMLNode* release = list->GetChild(i);
      const std::wstring id = Decoded(release->GetValue(L"id"));
      const std::wstring title = Text(release, L"title");
      if (!Named(release, L"release") || id.empty() || title.empty()) continue;
      TLookupAlbum* record = NewRecord<TLookupAlbum>();
      if (!record) break;
      CopySafe(record->id, 128, id);
      CopySafe(record->title, 256, title);
      CopySafe(record->artist, 256, Credit(release->GetChildByName(L"artist-credit")));
      std::wstring date = Text(release, L"date");
      if (date.empty()) date = Decoded(release->GetValue(L"date", true));  // a release event's
      CopySafe(record->date, 64, date);
      const CXMLNode* group = release->GetChildByName(L"release-group");
      std::wstring type = Text(group, L"type");
      if (type.empty()) type = Text(group, L"primary-type");
      const std::wstring status = Text(release, L"status");
      CopySafe(record->type, 64, type.empty() || status.empty() ? type + status : type + L" " + status);
      const CXMLNode* media = release->GetChildByName(L"medium-list");
      if (media && media->GetValue(L"track-count")) {
        record->trackCount = Number(media->GetValue(L"track-count"));
      } else {
        for (int m = 0; media && m < media->NumChildren(); ++m) {
          const CXMLNode* tracks = media->GetChild(m)->GetChildByName(L"track-list");
          if (tracks) record->trackCount += Number(tracks->GetValue(L"count"));
        }
      }
      m_albums.AppendToTail(record, Score(release, scoreName));
    }
    m_result = &m_albums;
  }
  m_failed = false;
  m_complete = true;
}

// --- The host's side ------------------------------------------------------------------

MusicBrainzLookupV2::MusicBrainzLookupV2(MyInternetAccess* session, wchar_t* tempFolder)
    : MusicBrainzLookup(session, tempFolder) {}

MusicBrainzLookupV2::~MusicBrainzLookupV2() {}

// Requests that would not fit the request's address are refused, not cut: a
// cut query would ask something else.
bool MusicBrainzLookupV2::QueueV2(int kind, const wchar_t* path) {
  if (wcslen(Server()) + wcslen(path) >= kUrlChars) return false;
  return Queue(kind, path, 2);
}

bool MusicBrainzLookupV2::SearchArtists(wchar_t* name, int offset) {
  const std::wstring text = Trimmed(name);
  if (text.empty()) return false;
  const std::wstring path = L"/ws/2/artist/?query=" + Encoded(Phrase(text)) +
                            L"&limit=100&offset=" + std::to_wstring(offset > 0 ? offset : 0);
  return QueueV2(kLookupArtists, path.c_str());
}

bool MusicBrainzLookupV2::SearchAlbums(wchar_t* artist, wchar_t* title, int offset) {
  const std::wstring a = Trimmed(artist), t = Trimmed(title);
  if (a.empty() && t.empty()) return false;
  std::wstring query;
  if (!a.empty()) query += L"artist:" + Phrase(a) + L" AND ";
  if (!t.empty()) query += L"release:" + Phrase(t) + L" AND ";
  query += L"status:official";
  const std::wstring path = L"/ws/2/release/?query=" + Encoded(query) + L"&limit=100&offset=" +
                            std::to_wstring(offset > 0 ? offset : 0);
  return QueueV2(kLookupAlbums, path.c_str());
}

bool MusicBrainzLookupV2::GetAlbums(wchar_t* artistId, int offset) {
  const std::wstring id = Trimmed(artistId);
  if (id.empty()) return false;
  const std::wstring path = L"/ws/2/release/?artist=" + Encoded(id) +
                            L"&status=official&inc=artist-credits+release-groups+media&limit=100"
                            L"&offset=" + std::to_wstring(offset > 0 ? offset : 0);
  return QueueV2(kLookupArtistAlbums, path.c_str());
}

bool MusicBrainzLookupV2::GetSongs(wchar_t* releaseId) {
  const std::wstring id = Trimmed(releaseId);
  if (id.empty()) return false;
  const std::wstring path = L"/ws/2/release/" + Encoded(id) + L"?inc=recordings";
  return QueueV2(kLookupSongs, path.c_str());
}
