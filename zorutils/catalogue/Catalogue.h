// The product catalogue: the makers' other applications, read from an XML
// file that ships beside the host, whether each is installed, where to get or
// read about it, and which one to advertise next.
//
// The file (see the README for a full example):
//
//   <catalogue>
//     <product id="wavedit" version="3.2">
//       <name key="WaveditName">Wave Editor</name>
//       <description key="WaveditText">Edits sound files.</description>
//       <installed kind="uninstall">Wave Editor</installed>
//       <download>https://example.com/wavedit/get</download>
//       <info>https://example.com/wavedit/</info>
//       <icon>{exe}\icons\wavedit.ico</icon>
//     </product>
//   </catalogue>
//
// An entry needs an id (1 to 63 letters, digits, '.', '-' or '_'), a name, an
// installed check and a download address; the rest is optional. Entries that
// lack one of those, repeat an id already read (A-Z folded), or give a
// download address that is not an http or https address are skipped with a
// log line; an information address that is not one is dropped. References
// in texts are decoded as DeHTMLifyString does, except that "&lt;" and "&gt;"
// keep their XML meaning; texts are then trimmed and cut to the record's
// buffers. Ids, download addresses and install targets that would need
// cutting skip their entry, and information addresses and icon paths that
// would are dropped, since a cut one names something else.
//
// Days are day numbers (days since 1 January 1601, CatalogueToday);
// buffer sizes are wchar_t code units with the terminator, and texts are cut
// by code units.
//
// Not thread-safe: one thread at a time per object.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/DynArray.h>

#include <windows.h>

/// Buffer sizes of a TCatalogueProduct, in characters with the terminator.
const int kCatalogueIdChars = 64;
const int kCatalogueNameChars = 128;
const int kCatalogueDescriptionChars = 1024;
const int kCatalogueVersionChars = 32;
const int kCatalogueTargetChars = 512;
const int kCatalogueAddressChars = 512;
const int kCatalogueKeyChars = 64;
/// The most products one catalogue keeps; entries beyond are skipped.
const int kCatalogueMaxProducts = 100000;

/// How a product tells that it is installed.
enum TInstallCheck {
  kInstallUninstallKey = 0,  ///< a key under ...\CurrentVersion\Uninstall (HKLM or HKCU)
  kInstallAppPath = 1,       ///< a key under ...\CurrentVersion\App Paths (HKLM or HKCU)
  kInstallFile = 2,          ///< a file path, folder tokens allowed
};

/// One product, as read (names and descriptions already localised). Every
/// text is trimmed and terminated.
struct TCatalogueProduct {
  wchar_t id[kCatalogueIdChars];                    ///< never empty
  wchar_t name[kCatalogueNameChars];                ///< never empty; cut to fit
  wchar_t description[kCatalogueDescriptionChars];  ///< cut to fit; empty when none
  wchar_t version[kCatalogueVersionChars];          ///< as written, cut to fit; empty when none
  int installCheck;  ///< a TInstallCheck
  wchar_t installTarget[kCatalogueTargetChars];     ///< key name or path, never empty
  wchar_t downloadAddress[kCatalogueAddressChars];  ///< an IsWebAddress address
  wchar_t infoAddress[kCatalogueAddressChars];  ///< empty when none
  wchar_t iconFile[MAX_PATH];                   ///< folder tokens allowed; empty when none
};

/// True for an address the catalogue may hand to the browser: "http://" or
/// "https://" (any case) followed by a host (not starting with '/', '.',
/// ':', '?' or '#'), and nowhere a control character, a blank, DEL, '"',
/// '<', '>', '\' or '`': what a shell or a command line could read as
/// something other than one address. Null is false.
ZORUTILS_API bool IsWebAddress(const wchar_t* address);
/// Opens `address` with LaunchBrowser when IsWebAddress accepts it (`owner`
/// may be null) and returns whether the browser was started; anything else
/// is refused (false, logged "OpenWebAddress: refused, not a web address")
/// and never reaches the shell.
ZORUTILS_API bool OpenWebAddress(const wchar_t* address, HWND owner);

/// Replaces the folder tokens of `path` into `out` (`outChars` with the
/// terminator): {ProgramFiles}, {ProgramFilesX86}, {CommonFiles}, {AppData},
/// {LocalAppData}, {CommonAppData}, {Windows}, {System} and {Exe} (the host
/// executable's folder), each without a trailing backslash; names match
/// A-Z folded; a '}' without its '{' is plain text. False, `out` empty (when
/// there is one), for null arguments, `outChars` below 1, an unknown or
/// unclosed token, a folder the system does not give, or a result that
/// does not fit.
ZORUTILS_API bool ExpandFolderTokens(const wchar_t* path, wchar_t* out, int outChars);

/// The day number of the local date today (days since 1 January 1601), for
/// the rotation's `today`.
ZORUTILS_API unsigned long CatalogueToday();

class ZORUTILS_API CProductCatalogue {
public:
  /// Empty, with no state key.
  CProductCatalogue();
  /// Frees the products; the registry state stays.
  ~CProductCatalogue();

  // --- Loading and look-up ---------------------------------------------------

  /// Reads the catalogue file at `path`, replacing what was held. Names and
  /// descriptions with a "key" attribute come from `stringFile` through
  /// MyLoadString (null: the process-wide string files); a key it does not
  /// know keeps the file's text (keys are cut to 63). Entries that cannot
  /// be used are skipped as the file comment says, each with a log line
  /// "CProductCatalogue::Load: product N skipped, why". False, with the
  /// catalogue empty and a log
  /// line saying why ("CProductCatalogue::Load: departing, ..."), for a null
  /// or empty path, a file that cannot be read, or a file without a
  /// <catalogue> element. A catalogue without products loads (true, 0).
  bool Load(const wchar_t* path, const wchar_t* stringFile);
  /// Forgets every product (the state key stays).
  void Clear();
  /// How many products are held.
  int GetCount() const;
  /// The product at `index`, or null out of range (negative included);
  /// valid until the next Load or Clear, or destruction.
  const TCatalogueProduct* GetProduct(int index) const;
  /// The index of the product with `id` (A-Z folded), or -1 (also for null).
  int FindById(const wchar_t* id) const;

  // --- Installed, download, information ----------------------------------------

  /// Asks the system now (a registry key opened or a file's attributes read;
  /// nothing is cached). An App Paths key whose default value names a file
  /// counts only while that file exists. A "file" check whose tokens do not
  /// expand (or whose path passes 259) is not installed. False out of range.
  bool IsInstalled(int index) const;
  /// Opens the product's download or information address through
  /// OpenWebAddress. False out of range, without an address, when refused,
  /// or when the browser could not be started.
  bool OpenDownload(int index, HWND owner) const;
  bool OpenInformation(int index, HWND owner) const;

  // --- Advertising state and rotation -----------------------------------------

  /// Where the per-product state is kept: values "<id>.DoNotShow" and
  /// "<id>.LastShown" (DWORDs) of `root`\`subKey`, made when first written.
  /// Without a key (null or empty) nothing is kept: nothing is suppressed and
  /// nothing was shown. The key is copied (cut to 259 characters).
  void SetStateKey(HKEY root, const wchar_t* subKey);
  /// Whether the user asked not to see the product's advertisement again
  /// (a non-zero DWORD). False out of range, without a state key or value.
  bool IsSuppressed(int index) const;
  /// Stores the choice; false out of range, without a state key, or when the
  /// key cannot be written.
  bool SetSuppressed(int index, bool suppressed);
  /// The day the product was last advertised (0: never, and out of range,
  /// without a state key, or for a value that is not a DWORD).
  unsigned long LastShownDay(int index) const;
  /// Records that the product was advertised on `today`; false as for
  /// SetSuppressed.
  bool MarkShown(int index, unsigned long today);
  /// The product to advertise on `today`: not installed, not suppressed, and
  /// not advertised in the `minDays` days before (shown on day d, it is next
  /// eligible on d + minDays). Of those, the one advertised longest ago
  /// (never first), ties in catalogue order, so that all take turns. A day
  /// recorded after `today` is not yet due; a negative `minDays` counts as
  /// 0. -1 when none qualifies. Does not mark it shown.
  int NextToAdvertise(int minDays, unsigned long today) const;

private:
  CProductCatalogue(const CProductCatalogue&) = delete;
  CProductCatalogue& operator=(const CProductCatalogue&) = delete;

  // Reads or writes one DWORD state value of product `index`.
  bool ReadState(int index, const wchar_t* suffix, DWORD& value) const;
  bool WriteState(int index, const wchar_t* suffix, DWORD value);

  friend struct zor::Layouts;  // the compile-time layout table

  CDynArray<TCatalogueProduct*> m_products;
  HKEY m_stateRoot;
  wchar_t m_stateKey[MAX_PATH];
};

static_assert(sizeof(CProductCatalogue) == (sizeof(void*) == 8 ? 544 : 536),
              "CProductCatalogue's layout is part of the exported interface");

/// Identifiers UT_ShowProductAdvert returns.
#define ZOR_ADVERT_DOWNLOAD IDOK
#define ZOR_ADVERT_CLOSE IDCANCEL

/// Shows the advertisement dialog for product `index`, modal to `owner` (may
/// be null): its icon (the iconFile, else the library's own), name,
/// description, a "read more" link to its information address (hidden when
/// it has none), Download and Close buttons, and the do-not-show-again box,
/// ticked when the product is suppressed now. Button captions come from the
/// utilities string file (keys "Download", "Close", "ReadMore",
/// "DoNotShowAgain"). The box is stored with SetSuppressed however the dialog
/// is left (so kept only with a state key). The icon file is loaded at 32 x
/// 32 pixels; one missing or unreadable gives the library's icon. Download opens the download address; the link opens the
/// information address (both through OpenWebAddress) and leaves the dialog
/// open. Returns ZOR_ADVERT_DOWNLOAD or ZOR_ADVERT_CLOSE (the close box and
/// Escape too), -1 for an index out of range or a dialog that could not be
/// made.
ZORUTILS_API int UT_ShowProductAdvert(HWND owner, CProductCatalogue& catalogue, int index);
