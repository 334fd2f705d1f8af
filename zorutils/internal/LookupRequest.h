// A search queued by MusicBrainzLookup, shared by its two sources: the
// worker's version-1 path (MusicLookup.cpp) and version 2 (MusicLookupV2.cpp).
#pragma once

#include <zorfutls/InternetDownload.h>

/// A queued search: where its reply goes, what to ask, and its download.
struct TLookupRequest {
  wchar_t file[260];
  wchar_t url[2048];  // version 1 keeps to 511 characters, as it always has
  CInternetDownload download;
  unsigned serial;  // tells this request from a later one at the same address
  bool cancelled;   // cancelled before its download started: it never will
  int protocol;     // 1 or 2: the service interface the request speaks
};
