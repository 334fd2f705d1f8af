// CPromoScript: plays a scripted sequence of short texts in a child window
// the host owns: each text shown for a set time with its own font, colours,
// margins and an optional transition, branching between named scripts.
//
// The script is an INI document (CIniFileReader) with the sections
//   [general]        "wait", "clear pause" and base text properties;
//   [NAME.N]         step N of script NAME: "text.K" (\n and \t escapes),
//                    "random.K.J" alternatives, "special event.K", "wait",
//                    "wait.K" (milliseconds or "notify"), "clear.K" ("1"),
//                    "style" and "style.K", "goto.script" with
//                    "returnto.script"/"returnto.step", and text properties,
//                    plain or for sub-step K only with the suffix ".K";
//   [style.NAME]     named property sets.
// Text properties: "typeface", "font size" (and "font size@W" for a
// full-screen width W), "bold", "italic", "underline", "horz", "vert",
// "text color", "bg color", "left|top|right|bottom margin", the same with
// "pct margin", "owner draw bg", "owner draw bg name", "owner draw bg
// refresh", "transition time", "transition color", "transition effect".
// A side's pixel and percentage margins set in one section both stand (the
// larger applies when painting); a section setting only one kind resets the
// other kind to 0, so across sections the later kind replaces the earlier.
//
// Units: waits, pauses, transition times and refresh periods are in
// milliseconds; margins and font sizes in pixels; the text buffers hold
// wchar_t code units and their capacities below include the terminator
// (names 260, the shown and the pending text 2048, a sub-step's text as
// fetched 1024). The names given to SetSourceFile and SetStartScriptName
// and a "goto.script" target of 260 or more are refused (left empty, no
// jump); every other over-long value is cut to its buffer, by code units
// (a surrogate pair may be split). Nothing reports an error but Load and Go.
//
// Threads: everything runs on the thread that owns the output window; the
// timers are thread timers dispatched through its message loop to the one
// player last started with Go (starting another silences the first).
//
// Decisions where the script format leaves room, kept on purpose:
//  - a text that clears passes through its clear pause (the background
//    only), then its transition or per-character reveal, then its wait; the
//    pause runs even when the text then waits for Resume ("notify");
//  - a transition time with the effect "none" just shows the text (no
//    transition runs, the text's wait starts at once) rather than stalling;
//  - the shown text is cut at its 2,048-character capacity when an append
//    would pass it;
//  - the player unhooks its window when the window is destroyed and when the
//    player is destroyed first, so neither order leaves a dangling pointer;
//  - Go on a different window than the one hooked moves the hook there;
//  - the horizontal and vertical alignment are not reset between texts (a
//    text without "horz" or "vert" keeps the previous text's alignment).
#pragma once

#include <zorutils/Export.h>
#include <zorutils/formats/IniFileReader.h>

#include <windows.h>

/// Asked for the text of a sub-step that names a special event: `event` is
/// the "special event.N" value (cut to 519 characters), `text` the script's
/// text (empty when 520 characters or longer); the handler may write the text
/// to show into `buffer` (`bufferSize` code units with the terminator, 1024
/// while playing; it holds the script's text on entry). Whatever it writes
/// is cut at bufferSize - 1 (splitting a surrogate pair if one straddles the
/// cut) and then has its \n and \t escapes replaced like a script text.
/// Returning false, or leaving the buffer empty, skips the sub-step.
typedef bool (*PromoSpecialEventHandler)(const wchar_t* event, const wchar_t* text,
                                         wchar_t* buffer, int bufferSize, void* user);
/// Paints the background of the text rectangle when "owner draw bg" is 1:
/// `dc` is the player's memory drawing context (its state is restored
/// after the call), `rect` the client area less the margins, `name` the
/// "owner draw bg name", `elapsedMs` the milliseconds since a background of
/// that name started, `refreshCount` the ticks of its refresh timer since
/// then. Called while painting, on the window's thread.
typedef void (*PromoOwnerDrawBackgroundHandler)(HDC dc, const RECT& rect, const wchar_t* name,
                                                unsigned int elapsedMs,
                                                unsigned int refreshCount, void* user);

/// Transition effect codes, as named by "transition effect".
enum TPromoEffect {
  kPromoEffectNone = 0,            // "none"
  kPromoEffectPerCharDelay = 1,    // "per-char delay": one character per transition time
  kPromoEffectColorFade = 2,       // "color fade"
  kPromoEffectFramesCrossfade = 3, // "frames crossfade"
  kPromoEffectFramesFade = 4,      // "frames fade": through the transition colour
  kPromoEffectColorFramePop = 5,   // "color frame fade pop"
  kPromoEffectColorRectOut = 6,    // "color rect out"
  kPromoEffectColorRectIn = 7,     // "color rect in"
  kPromoEffectWipeLR = 8,          // "wipe LR"
  kPromoEffectWipeRL = 9,          // "wipe RL"
  kPromoEffectColorWipeLR = 10,    // "color wipe LR"
  kPromoEffectColorWipeRL = 11     // "color wipe RL"
};

class ZORUTILS_API CPromoScript {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Idle (current step and sub-step -1), 2000 ms default wait, no clear
  /// pause, font face from the localised "DefaultPromoFont" (cut to 31
  /// characters); seeds rand() with the tick count.
  CPromoScript();
  /// Stop, drops both handlers, unhooks the window, frees every resource.
  ~CPromoScript();

  // --- Set-up (in this order: window, source, start script, handlers) ------

  /// The window to draw in, normally a child window of the host's; checked
  /// only by Go (a handle that is not a window makes Go fail).
  void SetOutputWindow(HWND window);
  /// Copies the path when shorter than 260 characters; else (or null) clears it.
  void SetSourceFile(const wchar_t* path);
  /// The script held in memory: `length` bytes of UTF-16LE or single-byte
  /// INI text; not copied: it must stay valid while Load or Go reads it.
  /// Takes precedence over the source file when `data` is not null and
  /// `length` > 0; otherwise (null, 0 or negative) the source file is read.
  void SetSourceBuffer(const unsigned char* data, int length);
  /// As SetSourceFile, for the script Go starts with.
  void SetStartScriptName(const wchar_t* name);
  /// The handlers and the pointers passed back to them; a null handler
  /// turns the feature off (special events are then ignored, and an owner-
  /// drawn background paints nothing over the background colour).
  void SetSpecialEventHandler(PromoSpecialEventHandler handler, void* user);
  void SetOwnerDrawBackgroundHandler(PromoOwnerDrawBackgroundHandler handler, void* user);

  // --- Playing -------------------------------------------------------------

  /// Reads the document and the "general" settings and empties the shown
  /// text. False when no source is set, the file is missing or unreadable,
  /// or the document does not parse (a value line without a key, an
  /// over-long key or value).
  bool Load();
  /// Whether step 1 of script `name` has a text, or is a jump. False for
  /// null, empty or names longer than 260 characters, and before a Load.
  /// Fetching the text asks the special-event handler as playing would.
  bool ScriptExists(const wchar_t* name);
  /// Loads, hooks the output window and shows the first text of the start
  /// script. False when loading fails, the window is not a window, the start
  /// script name is empty or the drawing surface cannot be made; the player
  /// is then stopped. Go while playing starts again from the beginning.
  bool Go();
  /// Kills the timers and keeps the painter from starting new ones; the
  /// position is kept, and Resume goes on with the next text.
  void Stop();
  /// Shows the next text now (ends a "notify" wait, or a Stop).
  void Resume();
  /// Finds the next text (at most 64 rounds through steps and jumps), reads
  /// its wait and properties, and shows it. Does nothing once the output
  /// window is gone or no text is found.
  void ExecuteNextStep();
  /// Timer dispatch: the main, transition and owner-draw refresh timers;
  /// 0 and ids of no running timer are ignored.
  void OnTimer(unsigned int timerId);
  /// The hooked window procedure's work: WM_SIZE rebuilds the drawing
  /// surface, WM_PAINT copies it to the window, WM_ERASEBKGND returns 1,
  /// WM_NOTIFYFORMAT returns NFR_UNICODE, WM_NCDESTROY stops the player and
  /// unhooks the window; the rest (and every message of another window) goes
  /// to the old procedure, or DefWindowProc when there is none.
  LRESULT StaticWndFunc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  // --- Text properties -----------------------------------------------------

  /// Reads the property keys of `section` (with the suffix ".subStep" when
  /// subStep >= 1) over the current properties. Absent or empty keys change
  /// nothing, nor do negative sizes, periods and times, unknown colour,
  /// alignment or effect names, or switches other than "1" and "0"; any
  /// other "owner draw bg" than 1 turns it off, and a margin of one kind
  /// resets the other kind of that side (see above). Values are
  /// read cut to 259 characters, the typeface then to 31. With
  /// `applyNow`, a new text or background colour is put on the drawing
  /// context at once. A null or empty section does nothing.
  void LoadCurrentTextProperties(const wchar_t* section, int subStep, bool applyNow);
  /// A decimal COLORREF, 0x00BBGGRR (a negative one is accepted, returning
  /// true, and ignored; one beyond 2147483647 counts as that) or one of the
  /// names BTNFACE, BTNTEXT, MENU, MENUTEXT, WINDOW, WINDOWTEXT (system
  /// colours), black, white, red, green, blue, gray, pink, yellow, light
  /// yellow, maroon, orange, cyan, navy (case-sensitive). False for null,
  /// empty or anything else, `colour` untouched.
  bool GetColorFromString(const wchar_t* text, unsigned long& colour);
  /// Margins in pixels of `rect` (null: the output window's client area, or
  /// an empty one without a window): the larger of the pixel margin and the
  /// percentage of rect.right (left, right) or rect.bottom (top, bottom),
  /// in 32-bit arithmetic truncated toward zero. Negative margins stand.
  int LeftMargin(const RECT* rect) const;
  int RightMargin(const RECT* rect) const;
  int TopMargin(const RECT* rect) const;
  int BottomMargin(const RECT* rect) const;

  // --- Painting ------------------------------------------------------------

  /// Makes the memory drawing context for the output window's client size
  /// (1 x 1 pixel while the client area is empty), releasing the previous
  /// one. False when the output window is not a window or GDI fails.
  bool InitializePaintStuff();
  /// Draws the current picture (and the transition frame) into the memory
  /// drawing context, laying the text out in `client`; transition frames
  /// cover the context's own size. Starts the transition, main and refresh
  /// timers as they fall due, unless stopped. Nothing without a context.
  void OnPaint(const RECT& client);
  /// Releases the memory drawing context, its bitmap, font and brushes;
  /// painting does nothing until the next InitializePaintStuff.
  void ClearResources();
  /// Frees the three transition frame buffers.
  void DeleteBitmaps();

  // --- State ---------------------------------------------------------------

  /// The script, step (from 1) and sub-step (from 1) of the text shown; the
  /// script is empty and both numbers -1 before the first Go.
  const wchar_t* CurrentScript() const { return m_currentScript; }
  int CurrentStep() const { return m_currentStep; }
  int CurrentSubStep() const { return m_currentSubStep; }
  /// Whether characters of a "per-char delay" text are still to be shown.
  bool DoingPerCharDelay() const { return m_pendingText[0] != 0; }
  /// Whether the current effect starts from the picture shown before
  /// (frames crossfade, frames fade, color frame fade pop, wipe LR, wipe RL)
  /// or from a solid transition colour (color fade, color rect out, color
  /// rect in, color wipe LR, color wipe RL).
  bool EffectUsesPrevFrame() const;
  bool EffectUsesSolidColorSource() const;

  /// The text the window shows now (at most 2047 code units; a
  /// per-character reveal adds to it one character at a time).
  const wchar_t* ShownText() const { return m_shownText; }
  /// Display time of the current text, in milliseconds.
  int StepWait() const { return m_stepWait; }
  /// Whether the current text waits for Resume ("wait.N" = "notify"), and
  /// whether the blank clear pause before it is running.
  bool WaitingForNotify() const { return m_notify != 0; }
  bool InClearPause() const { return m_inClearPause != 0; }
  /// The running timers' ids (0 when not running), for hosts that pump
  /// timers themselves and for tests that drive the player step by step.
  UINT_PTR MainTimer() const { return m_mainTimer; }
  UINT_PTR TransitionTimer() const { return m_transitionTimer; }
  UINT_PTR OwnerDrawRefreshTimer() const { return m_ownerDrawTimer; }
  /// The current text's properties: font (lfHeight is minus the size in
  /// pixels), colours, DrawText flags, alignment (0 left/top, 1 center,
  /// 2 right/bottom), transition time in milliseconds (set to 0 when a
  /// running transition finishes), effect (a TPromoEffect) and colour.
  const LOGFONTW& CurrentFont() const { return m_font; }
  COLORREF TextColor() const { return m_textColor; }
  COLORREF BackgroundColor() const { return m_bgColor; }
  UINT TextFormat() const { return m_textFormat; }
  int HorizontalAlignment() const { return m_horzAlign; }
  int VerticalAlignment() const { return m_vertAlign; }
  int TransitionTime() const { return m_transitionTime; }
  int TransitionEffect() const { return m_transitionEffect; }
  COLORREF TransitionColor() const { return m_transitionColor; }
  /// The memory drawing context the window is copied from (null before Go).
  HDC MemoryDC() const { return m_memDC; }

private:
  CPromoScript(const CPromoScript&) = delete;
  CPromoScript& operator=(const CPromoScript&) = delete;

  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  static void CALLBACK TimerProc(HWND window, UINT message, UINT_PTR id, DWORD time);

  bool ReadNumber(const wchar_t* section, const wchar_t* key, int& value);
  bool FetchSubStepText(const wchar_t* script, int step, int subStep, wchar_t* buffer,
                        int capacity);
  void PickRandomText(const wchar_t* section, int subStep, wchar_t* buffer, int capacity);
  bool GetNextTextBuffer(wchar_t* buffer, int capacity);
  void ResetTextProperties();
  int MarginOf(int side, const RECT* rect) const;
  void ApplyTextColors();
  void SelectCurrentFont();
  void LaunchStep();
  void StartMainTimer();
  void KillTimer(UINT_PTR& timer);
  void Hook();
  void Unhook();
  bool CreateBitmap(HBITMAP& bitmap, unsigned char*& bits, int width, int height);
  bool CreateSolidSourceBitmap(int width, int height);
  void DrawPicture(HDC dc, const RECT& client);
  void DrawTransitionFrame(int p, int width, int height);

  HWND m_window;
  CIniFileReader m_script;
  int m_currentStep;
  int m_currentSubStep;
  int m_returnStep;
  int m_defaultWait;
  int m_stepWait;
  int m_clearPause;
  int m_currentClearPause;
  UINT_PTR m_mainTimer;
  UINT_PTR m_ownerDrawTimer;
  UINT_PTR m_transitionTimer;
  PromoSpecialEventHandler m_specialEventHandler;
  void* m_specialEventUser;
  PromoOwnerDrawBackgroundHandler m_ownerDrawHandler;
  void* m_ownerDrawUser;
  wchar_t m_sourceFile[260];
  wchar_t m_startScript[260];
  wchar_t m_currentScript[260];
  wchar_t m_shownText[2048];
  wchar_t m_pendingText[2048];
  wchar_t m_returnScript[260];
  const unsigned char* m_sourceBuffer;
  int m_sourceLength;

  // Drawing resources: the memory context and what is selected into it.
  HDC m_memDC;
  HBITMAP m_memBitmap;
  HGDIOBJ m_memOldBitmap;
  HFONT m_memFont;
  HGDIOBJ m_memOldFont;
  HBRUSH m_bgBrush;
  HBRUSH m_transitionBrush;
  COLORREF m_transitionBrushColor;
  int m_memWidth;
  int m_memHeight;
  // Transition frame buffers (24-bit DIB sections): the source picture (A),
  // the new picture (B) and the blended output.
  HBITMAP m_bitmapA;
  unsigned char* m_bitsA;
  HBITMAP m_bitmapB;
  unsigned char* m_bitsB;
  HBITMAP m_bitmapOut;
  unsigned char* m_bitsOut;
  int m_frameWidth;
  int m_frameHeight;
  bool m_newPictureTaken;
  DWORD m_transitionStart;

  HWND m_hookedWindow;
  WNDPROC m_previousWndProc;
  LOGFONTW m_font;
  COLORREF m_bgColor;
  COLORREF m_textColor;
  int m_horzAlign;
  int m_vertAlign;
  UINT m_textFormat;
  BYTE m_inClearPause;
  BYTE m_notify;
  BYTE m_lastChar;
  bool m_revealDue;   // a timed paint moves the next pending character
  bool m_halted;      // Stop ran: the painter starts no timers
  int m_margin[4];     // left, top, right, bottom, in pixels
  int m_pctMargin[4];  // the same in percent
  bool m_ownerDrawBg;
  wchar_t m_ownerDrawName[260];
  wchar_t m_previousOwnerDrawName[260];
  int m_ownerDrawRefresh;
  DWORD m_ownerDrawStart;
  unsigned int m_ownerDrawCount;
  int m_transitionTime;
  int m_transitionEffect;
  COLORREF m_transitionColor;
};
