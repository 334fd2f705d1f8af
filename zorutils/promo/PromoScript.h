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

/// Asked for the text of a sub-step that names a special event: `text` is
/// the script's text (empty when 520 characters or longer); the handler may
/// write the text to show into `buffer` (`bufferSize` characters, holding
/// the script's text on entry). Returning false skips the sub-step.
typedef bool (*PromoSpecialEventHandler)(const wchar_t* event, const wchar_t* text,
                                         wchar_t* buffer, int bufferSize, void* user);
/// Paints the background of the text rectangle when "owner draw bg" is 1:
/// `name` is "owner draw bg name", `elapsedMs` the time since this
/// background started, `refreshCount` the ticks of its refresh timer.
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
  /// Idle, with default properties; seeds rand() with the tick count.
  CPromoScript();
  /// Stop, drops both handlers, unhooks the window, frees every resource.
  ~CPromoScript();

  // --- Set-up (in this order: window, source, start script, handlers) ------

  void SetOutputWindow(HWND window);
  /// Copies the path when shorter than 260 characters; else (or null) clears it.
  void SetSourceFile(const wchar_t* path);
  /// The script held in memory (UTF-16LE or single-byte INI text); not
  /// copied: it must stay valid while Load or Go reads it. Takes precedence
  /// over the source file when `length` > 0.
  void SetSourceBuffer(const unsigned char* data, int length);
  /// As SetSourceFile, for the script Go starts with.
  void SetStartScriptName(const wchar_t* name);
  void SetSpecialEventHandler(PromoSpecialEventHandler handler, void* user);
  void SetOwnerDrawBackgroundHandler(PromoOwnerDrawBackgroundHandler handler, void* user);

  // --- Playing -------------------------------------------------------------

  /// Reads the document and the "general" settings. False for a missing
  /// file or a document that does not parse.
  bool Load();
  /// Whether step 1 of script `name` has a text, or is a jump. False for
  /// null, empty or names longer than 260 characters.
  bool ScriptExists(const wchar_t* name);
  /// Loads, hooks the output window and shows the first text of the start
  /// script. False when loading fails, the window is not a window, the start
  /// script name is empty or the drawing surface cannot be made.
  bool Go();
  /// Kills the timers; Resume goes on with the next text.
  void Stop();
  /// Shows the next text now (ends a "notify" wait).
  void Resume();
  /// Finds the next text (at most 64 rounds through steps and jumps), reads
  /// its wait and properties, and shows it. Does nothing once the output
  /// window is gone or no text is found.
  void ExecuteNextStep();
  /// Timer dispatch: the main, transition and owner-draw refresh timers.
  void OnTimer(unsigned int timerId);
  /// The hooked window procedure's work: WM_SIZE rebuilds the drawing
  /// surface, WM_PAINT copies it to the window, WM_ERASEBKGND returns 1,
  /// WM_NOTIFYFORMAT returns NFR_UNICODE; the rest goes to the old procedure.
  LRESULT StaticWndFunc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  // --- Text properties -----------------------------------------------------

  /// Reads the property keys of `section` (with the suffix ".subStep" when
  /// subStep >= 1) over the current properties. With `applyNow`, a new text
  /// or background colour is put on the drawing context at once.
  void LoadCurrentTextProperties(const wchar_t* section, int subStep, bool applyNow);
  /// A decimal COLORREF (a negative one is accepted and ignored) or one of
  /// the names BTNFACE, BTNTEXT, MENU, MENUTEXT, WINDOW, WINDOWTEXT, black,
  /// white, red, green, blue, gray, pink, yellow, light yellow, maroon,
  /// orange, cyan, navy (case-sensitive). False otherwise, `colour` untouched.
  bool GetColorFromString(const wchar_t* text, unsigned long& colour);
  /// Margins in pixels of `rect` (null: the output window's client area):
  /// the larger of the pixel margin and the percentage of rect.right (left,
  /// right) or rect.bottom (top, bottom).
  int LeftMargin(const RECT* rect) const;
  int RightMargin(const RECT* rect) const;
  int TopMargin(const RECT* rect) const;
  int BottomMargin(const RECT* rect) const;

  // --- Painting ------------------------------------------------------------

  /// Makes the memory drawing context for the output window's client size.
  bool InitializePaintStuff();
  /// Draws the current picture (and the transition frame) into the memory
  /// drawing context for the client rectangle `client`.
  void OnPaint(const RECT& client);
  /// Releases the memory drawing context, its bitmap, font and brushes.
  void ClearResources();
  /// Frees the three transition frame buffers.
  void DeleteBitmaps();

  // --- State ---------------------------------------------------------------

  const wchar_t* CurrentScript() const { return m_currentScript; }
  int CurrentStep() const { return m_currentStep; }
  int CurrentSubStep() const { return m_currentSubStep; }
  bool DoingPerCharDelay() const { return m_pendingText[0] != 0; }
  bool EffectUsesPrevFrame() const;
  bool EffectUsesSolidColorSource() const;

  /// The text the window shows now.
  const wchar_t* ShownText() const { return m_shownText; }
  /// Display time of the current text, in milliseconds.
  int StepWait() const { return m_stepWait; }
  bool WaitingForNotify() const { return m_notify != 0; }
  bool InClearPause() const { return m_inClearPause != 0; }
  /// The running timers' ids (0 when not running), for hosts that pump
  /// timers themselves and for tests that drive the player step by step.
  UINT_PTR MainTimer() const { return m_mainTimer; }
  UINT_PTR TransitionTimer() const { return m_transitionTimer; }
  UINT_PTR OwnerDrawRefreshTimer() const { return m_ownerDrawTimer; }
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
