// CPromoScript: the step engine, the timers and the window hook. The text
// properties are in PromoProperties.cpp, the painter in PromoPaint.cpp.
#include <zorutils/promo/PromoScript.h>

#include <zorutils/internal/TestSeams.h>
#include <zorutils/internal/FormatTo.h>
#include <zorutils/promo/PromoInternal.h>
#include <zorutils/strings/LanguageStrings.h>
#include <zorutils/text/StringUtils.h>

#include <shlwapi.h>

#include <climits>
#include <cstdlib>
#include <cwchar>

namespace {

// The player the thread timers report to: the one last started with Go.
CPromoScript* g_activePlayer = nullptr;

DWORD (*g_clock)() = nullptr;

const int kNameChars = 260;
const int kTextChars = 1024;      // a sub-step's text, as fetched
const int kEventChars = 520;      // special-event names and their text copies
const int kMaxRounds = 64;        // steps and jumps tried before the script ends
const int kValueChars = 8192;     // any INI value, whole ("clear.N")

}  // namespace

void ZorTest_SetPromoClock(DWORD (*clock)()) { g_clock = clock; }

namespace zorpromo {

DWORD Now() { return g_clock ? g_clock() : ::GetTickCount(); }

bool ParseNumber(const wchar_t* text, int& value) {
  if (!text || !*text || !StringIsNumericW(text)) return false;
  // Absurd values saturate instead of wrapping.
  const long long v = _wcstoi64(text, nullptr, 10);
  value = v > INT_MAX ? INT_MAX : v < INT_MIN ? INT_MIN : static_cast<int>(v);
  return true;
}

}  // namespace zorpromo

using zor::FormatTo;

CPromoScript::CPromoScript()
    : m_window(nullptr),
      m_currentStep(-1),
      m_currentSubStep(-1),
      m_returnStep(-1),
      m_defaultWait(2000),
      m_stepWait(2000),
      m_clearPause(0),
      m_currentClearPause(0),
      m_mainTimer(0),
      m_ownerDrawTimer(0),
      m_transitionTimer(0),
      m_specialEventHandler(nullptr),
      m_specialEventUser(nullptr),
      m_ownerDrawHandler(nullptr),
      m_ownerDrawUser(nullptr),
      m_sourceFile(),
      m_startScript(),
      m_currentScript(),
      m_shownText(),
      m_pendingText(),
      m_returnScript(),
      m_sourceBuffer(nullptr),
      m_sourceLength(0),
      m_memDC(nullptr),
      m_memBitmap(nullptr),
      m_memOldBitmap(nullptr),
      m_memFont(nullptr),
      m_memOldFont(nullptr),
      m_bgBrush(nullptr),
      m_transitionBrush(nullptr),
      m_transitionBrushColor(0),
      m_memWidth(0),
      m_memHeight(0),
      m_bitmapA(nullptr),
      m_bitsA(nullptr),
      m_bitmapB(nullptr),
      m_bitsB(nullptr),
      m_bitmapOut(nullptr),
      m_bitsOut(nullptr),
      m_frameWidth(0),
      m_frameHeight(0),
      m_newPictureTaken(false),
      m_transitionStart(0),
      m_hookedWindow(nullptr),
      m_previousWndProc(nullptr),
      m_font(),
      m_bgColor(::GetSysColor(COLOR_BTNFACE)),
      m_textColor(::GetSysColor(COLOR_BTNTEXT)),
      m_horzAlign(0),
      m_vertAlign(0),
      m_textFormat(DT_WORDBREAK | DT_NOPREFIX),
      m_inClearPause(0),
      m_notify(0),
      m_lastChar(0),
      m_revealDue(false),
      m_halted(false),
      m_margin(),
      m_pctMargin(),
      m_ownerDrawBg(false),
      m_ownerDrawName(),
      m_previousOwnerDrawName(),
      m_ownerDrawRefresh(0),
      m_ownerDrawStart(0),
      m_ownerDrawCount(0),
      m_transitionTime(0),
      m_transitionEffect(kPromoEffectNone),
      m_transitionColor(0) {
  srand(static_cast<unsigned>(::GetTickCount()));
  m_font.lfHeight = -14;
  m_font.lfWeight = FW_NORMAL;
  m_font.lfCharSet = DEFAULT_CHARSET;
  m_font.lfQuality = ANTIALIASED_QUALITY;
  wchar_t key[] = L"DefaultPromoFont";
  MyLoadString(key, m_font.lfFaceName, LF_FACESIZE - 1, nullptr, false);
}

CPromoScript::~CPromoScript() {
  Stop();
  m_specialEventHandler = nullptr;
  m_ownerDrawHandler = nullptr;
  if (g_activePlayer == this) g_activePlayer = nullptr;
  Unhook();
  ClearResources();
  DeleteBitmaps();
}

// --- Set-up ---------------------------------------------------------------------

void CPromoScript::SetOutputWindow(HWND window) { m_window = window; }

static void CopyName(wchar_t (&to)[260], const wchar_t* from) {
  to[0] = 0;
  if (from && wcslen(from) < 260) wcscpy(to, from);
}

void CPromoScript::SetSourceFile(const wchar_t* path) { CopyName(m_sourceFile, path); }

void CPromoScript::SetSourceBuffer(const unsigned char* data, int length) {
  m_sourceBuffer = data;
  m_sourceLength = length;
}

void CPromoScript::SetStartScriptName(const wchar_t* name) { CopyName(m_startScript, name); }

void CPromoScript::SetSpecialEventHandler(PromoSpecialEventHandler handler, void* user) {
  m_specialEventHandler = handler;
  m_specialEventUser = user;
}

void CPromoScript::SetOwnerDrawBackgroundHandler(PromoOwnerDrawBackgroundHandler handler,
                                                 void* user) {
  m_ownerDrawHandler = handler;
  m_ownerDrawUser = user;
}

// --- Loading --------------------------------------------------------------------

bool CPromoScript::ReadNumber(const wchar_t* section, const wchar_t* key, int& value) {
  wchar_t text[256];
  m_script.GetString(section, key, L"", text, 256);
  int v;
  if (!zorpromo::ParseNumber(text, v) || v < 0) return false;
  value = v;
  return true;
}

bool CPromoScript::Load() {
  if (m_sourceBuffer && m_sourceLength > 0) {
    if (!m_script.InitFromBuffer(m_sourceBuffer, static_cast<unsigned>(m_sourceLength), false))
      return false;
  } else if (!m_sourceFile[0] || !PathFileExistsW(m_sourceFile) ||
             !m_script.Init(m_sourceFile, false)) {
    return false;
  }
  m_shownText[0] = 0;
  ReadNumber(L"general", L"wait", m_defaultWait);
  ReadNumber(L"general", L"clear pause", m_clearPause);
  LoadCurrentTextProperties(L"general", 0, true);
  return true;
}

// --- Finding the next text ----------------------------------------------------

void CPromoScript::PickRandomText(const wchar_t* section, int subStep, wchar_t* buffer,
                                  int capacity) {
  buffer[0] = 0;
  wchar_t key[64];
  wchar_t probe[2];
  int count = 0;
  for (;;) {
    FormatTo(key, L"random.%d.%d", subStep, count + 1);
    // A one-character probe: only emptiness matters while counting.
    m_script.GetString(section, key, L"", probe, 2);
    if (!probe[0]) break;
    ++count;
  }
  if (count < 1) return;
  FormatTo(key, L"random.%d.%d", subStep, rand() % count + 1);
  m_script.GetString(section, key, L"", buffer, static_cast<unsigned>(capacity));
}

bool CPromoScript::FetchSubStepText(const wchar_t* script, int step, int subStep,
                                    wchar_t* buffer, int capacity) {
  if (!script || !buffer || capacity < 1) return false;
  wchar_t section[kNameChars + 16];
  wchar_t key[64];
  FormatTo(section, L"%s.%d", script, step);
  FormatTo(key, L"text.%d", subStep);
  m_script.GetString(section, key, L"", buffer, static_cast<unsigned>(capacity));
  if (!buffer[0]) {
    PickRandomText(section, subStep, buffer, capacity);
    if (!buffer[0]) return false;
  }
  if (m_specialEventHandler) {
    // The event is looked up for the player's own sub-step, which is the one
    // asked for in every fetch the engine makes.
    wchar_t event[kEventChars];
    FormatTo(key, L"special event.%d", m_currentSubStep);
    m_script.GetString(section, key, L"", event, kEventChars);
    if (event[0]) {
      wchar_t text[kEventChars];
      text[0] = 0;
      if (wcslen(buffer) < static_cast<size_t>(kEventChars)) wcscpy(text, buffer);
      const bool keep =
          m_specialEventHandler(event, text, buffer, capacity, m_specialEventUser);
      buffer[capacity - 1] = 0;  // whatever the handler wrote, it ends inside
      if (!keep) return false;
    }
  }
  return buffer[0] != 0;
}

bool CPromoScript::ScriptExists(const wchar_t* name) {
  if (!name || !*name || wcslen(name) > static_cast<size_t>(kNameChars)) return false;
  wchar_t text[kTextChars];
  if (FetchSubStepText(name, 1, 1, text, kTextChars)) return true;
  wchar_t section[kNameChars + 16];
  FormatTo(section, L"%s.%d", name, 1);
  m_script.GetString(section, L"goto.script", L"", text, kNameChars);
  return text[0] != 0;
}

bool CPromoScript::GetNextTextBuffer(wchar_t* buffer, int capacity) {
  wchar_t section[kNameChars + 16];
  wchar_t target[kNameChars + 1];  // one more, to tell a name of 260 from a cut one
  for (int round = 0; round < kMaxRounds; ++round) {
    ++m_currentSubStep;
    if (FetchSubStepText(m_currentScript, m_currentStep, m_currentSubStep, buffer, capacity))
      return true;

    // This step has no more texts: on to the next step, which may be a jump.
    ++m_currentStep;
    m_currentSubStep = 1;
    FormatTo(section, L"%s.%d", m_currentScript, m_currentStep);
    m_script.GetString(section, L"goto.script", L"", target, kNameChars + 1);
    if (!target[0] || wcslen(target) >= static_cast<size_t>(kNameChars)) {
      if (FetchSubStepText(m_currentScript, m_currentStep, 1, buffer, capacity)) return true;
      if (m_returnScript[0]) {
        wcscpy(m_currentScript, m_returnScript);
        m_currentStep = m_returnStep > 1 ? m_returnStep : 1;
        m_currentSubStep = 0;
        m_returnScript[0] = 0;
        m_returnStep = -1;
      } else if (m_returnStep > 0) {
        m_currentStep = m_returnStep;
        m_currentSubStep = 0;
        m_returnStep = -1;
      } else {
        // The script ran out of steps: wrap to its first text.
        m_currentStep = 1;
        m_currentSubStep = 1;
        if (FetchSubStepText(m_currentScript, 1, 1, buffer, capacity)) return true;
      }
    } else {
      wcscpy(m_currentScript, target);
      m_currentStep = 1;
      m_currentSubStep = 0;
      m_script.GetString(section, L"returnto.script", L"", m_returnScript, kNameChars);
      m_returnStep = -1;
      ReadNumber(section, L"returnto.step", m_returnStep);
    }
  }
  return false;
}

// --- Playing ----------------------------------------------------------------------

bool CPromoScript::Go() {
  Stop();
  ClearResources();
  if (!Load() || !::IsWindow(m_window)) return false;
  wcscpy(m_currentScript, m_startScript);
  if (!m_currentScript[0]) return false;
  g_activePlayer = this;
  DeleteBitmaps();
  if (!InitializePaintStuff()) return false;
  Hook();
  m_currentStep = 1;
  m_currentSubStep = 0;
  m_returnScript[0] = 0;
  m_returnStep = -1;
  LoadCurrentTextProperties(L"general", 0, true);
  ExecuteNextStep();
  return true;
}

void CPromoScript::KillTimer(UINT_PTR& timer) {
  if (timer) ::KillTimer(nullptr, timer);
  timer = 0;
}

void CPromoScript::Stop() {
  KillTimer(m_mainTimer);
  KillTimer(m_ownerDrawTimer);
  KillTimer(m_transitionTimer);
  m_halted = true;
}

void CPromoScript::Resume() { ExecuteNextStep(); }

void CPromoScript::ExecuteNextStep() {
  m_inClearPause = 0;
  m_notify = 0;
  m_halted = false;
  KillTimer(m_mainTimer);
  KillTimer(m_transitionTimer);
  // The previous step's pictures: a new transition starts from scratch.
  zorpromo::FreeFrame(m_bitmapA, m_bitsA);
  m_newPictureTaken = false;
  m_transitionStart = 0;
  m_revealDue = false;
  if (!::IsWindow(m_window)) return;

  wchar_t text[kTextChars];
  if (!GetNextTextBuffer(text, kTextChars)) return;

  // Escapes: each two-character sequence becomes one or two characters, so
  // the text never grows.
  wchar_t* out = text;
  for (const wchar_t* in = text; *in; ++in) {
    if (in[0] == L'\\' && in[1] == L'n') {
      *out++ = L'\r';
      *out++ = L'\n';
      ++in;
    } else if (in[0] == L'\\' && in[1] == L't') {
      *out++ = L'\t';
      ++in;
    } else {
      *out++ = *in;
    }
  }
  *out = 0;

  wchar_t section[kNameChars + 16];
  wchar_t key[64];
  wchar_t value[256];
  FormatTo(section, L"%s.%d", m_currentScript, m_currentStep);
  m_stepWait = m_defaultWait;
  ReadNumber(section, L"wait", m_stepWait);
  FormatTo(key, L"wait.%d", m_currentSubStep);
  m_script.GetString(section, key, L"", value, 256);
  if (wcscmp(value, L"notify") == 0)
    m_notify = 1;
  else
    ReadNumber(section, key, m_stepWait);

  // Property layers, each over the one before.
  ResetTextProperties();
  LoadCurrentTextProperties(L"general", 0, false);
  wchar_t style[kNameChars + 16];
  m_script.GetString(section, L"style", L"", value, 256);
  if (value[0]) {
    FormatTo(style, L"style.%s", value);
    LoadCurrentTextProperties(style, 0, false);
  }
  LoadCurrentTextProperties(section, 0, false);
  FormatTo(key, L"style.%d", m_currentSubStep);
  m_script.GetString(section, key, L"", value, 256);
  if (value[0]) {
    FormatTo(style, L"style.%s", value);
    LoadCurrentTextProperties(style, 0, false);
  }
  LoadCurrentTextProperties(section, m_currentSubStep, false);
  ApplyTextColors();
  SelectCurrentFont();

  // The copies below are guarded by the length of the "clear.N" value, not of
  // the text: scripts have always worked that way, and a text of at most 1023
  // characters fits both buffers anyway; the append is cut at the capacity.
  wchar_t clearValue[kValueChars];
  FormatTo(key, L"clear.%d", m_currentSubStep);
  m_script.GetString(section, key, L"", clearValue, kValueChars);
  const size_t guard = wcslen(clearValue);
  const bool clears = m_currentSubStep == 1 || wcscmp(clearValue, L"1") == 0;

  m_currentClearPause = m_clearPause;
  m_pendingText[0] = 0;
  if (m_transitionTime >= 1 && m_transitionEffect == kPromoEffectPerCharDelay && guard < 2048)
    wcscpy(m_pendingText, text);
  if (clears) {
    if (guard < 2048) wcscpy(m_shownText, m_pendingText[0] ? L"" : text);
    if (m_currentClearPause > 0) m_inClearPause = 1;
  } else if (!m_pendingText[0]) {
    const size_t shown = wcslen(m_shownText);
    if (shown + guard < 2048) {
      wcsncat(m_shownText, text, 2047 - shown);
    }
  }

  if (wcscmp(m_ownerDrawName, m_previousOwnerDrawName) != 0) {
    m_ownerDrawStart = zorpromo::Now();
    m_ownerDrawCount = 0;
    KillTimer(m_ownerDrawTimer);
  }
  LaunchStep();
}

void CPromoScript::LaunchStep() {
  KillTimer(m_mainTimer);
  if (m_inClearPause) {
    // The blank pause comes first, whatever follows it.
    StartMainTimer();
  } else {
    // With a transition the painter starts the main timer when it ends, so
    // the text's wait counts from the finished picture.
    const bool transition = zorpromo::IsFrameEffect(m_transitionEffect) && m_transitionTime > 0;
    if (!m_notify && !transition) StartMainTimer();
    if (m_pendingText[0]) m_revealDue = true;
  }
  ::InvalidateRect(m_window, nullptr, FALSE);
}

void CPromoScript::StartMainTimer() {
  KillTimer(m_mainTimer);
  int period = m_stepWait;
  if (m_inClearPause) {
    period = m_currentClearPause;
  } else if (m_transitionTime > 0) {
    const size_t pending = wcslen(m_pendingText);
    if (pending) period = m_transitionTime;
    m_lastChar = pending == 1;
  }
  m_mainTimer = ::SetTimer(nullptr, 0, static_cast<UINT>(period), TimerProc);
}

void CALLBACK CPromoScript::TimerProc(HWND, UINT message, UINT_PTR id, DWORD) {
  if (message == WM_TIMER && g_activePlayer &&
      !::IsBadReadPtr(g_activePlayer, sizeof(CPromoScript)))
    g_activePlayer->OnTimer(static_cast<unsigned>(id));
}

void CPromoScript::OnTimer(unsigned int timerId) {
  if (!timerId) return;
  if (timerId == m_ownerDrawTimer) {
    ++m_ownerDrawCount;
  } else if (timerId == m_transitionTimer) {
    ::InvalidateRect(m_window, nullptr, FALSE);
  } else if (timerId == m_mainTimer) {
    if (m_inClearPause) {
      m_inClearPause = 0;
      LaunchStep();
    } else if (m_transitionTime >= 1 && (m_pendingText[0] || m_lastChar)) {
      LaunchStep();
    } else {
      ExecuteNextStep();
    }
  }
}

// --- The window hook ------------------------------------------------------------

void CPromoScript::Hook() {
  if (m_hookedWindow && m_hookedWindow != m_window) Unhook();
  CPromoScript* other =
      reinterpret_cast<CPromoScript*>(::GetWindowLongPtrW(m_window, GWLP_USERDATA));
  ::SetWindowLongPtrW(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  // Hooking twice would keep our own procedure as the one to call on.
  if (!m_previousWndProc) {
    m_hookedWindow = m_window;
    if (::GetWindowLongPtrW(m_window, GWLP_WNDPROC) == reinterpret_cast<LONG_PTR>(WindowProc)) {
      // Another player hooked this window first: call on to what it kept.
      m_previousWndProc = other && other != this ? other->m_previousWndProc : nullptr;
    } else {
      m_previousWndProc = reinterpret_cast<WNDPROC>(::SetWindowLongPtrW(
          m_window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(WindowProc)));
    }
  }
}

void CPromoScript::Unhook() {
  HWND window = m_hookedWindow;
  if (window && ::IsWindow(window)) {
    if (::GetWindowLongPtrW(window, GWLP_WNDPROC) == reinterpret_cast<LONG_PTR>(WindowProc))
      ::SetWindowLongPtrW(window, GWLP_WNDPROC,
                          reinterpret_cast<LONG_PTR>(m_previousWndProc ? m_previousWndProc
                                                                       : DefWindowProcW));
    if (::GetWindowLongPtrW(window, GWLP_USERDATA) == reinterpret_cast<LONG_PTR>(this))
      ::SetWindowLongPtrW(window, GWLP_USERDATA, 0);
  }
  m_hookedWindow = nullptr;
  m_previousWndProc = nullptr;
}

LRESULT CALLBACK CPromoScript::WindowProc(HWND window, UINT message, WPARAM wParam,
                                          LPARAM lParam) {
  if (message == WM_CREATE) {
    // A window created on this procedure names its player at creation.
    const CREATESTRUCTW* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
    ::SetWindowLongPtrW(window, GWLP_USERDATA,
                        reinterpret_cast<LONG_PTR>(create ? create->lpCreateParams : nullptr));
    return 0;
  }
  CPromoScript* player =
      reinterpret_cast<CPromoScript*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  return player ? player->StaticWndFunc(window, message, wParam, lParam) : 0;
}

LRESULT CPromoScript::StaticWndFunc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  WNDPROC previous = m_previousWndProc;
  switch (message) {
    case WM_SIZE:
      if (window == m_window) {
        DeleteBitmaps();
        InitializePaintStuff();
      }
      break;
    case WM_PAINT: {
      PAINTSTRUCT ps;
      HDC dc = ::BeginPaint(window, &ps);
      RECT client;
      ::GetClientRect(window, &client);
      if (window == m_window && m_memDC) {
        OnPaint(client);
        ::BitBlt(dc, 0, 0, client.right, client.bottom, m_memDC, 0, 0, SRCCOPY);
      }
      ::EndPaint(window, &ps);
      return 0;
    }
    case WM_ERASEBKGND:
      return 1;
    case WM_NOTIFYFORMAT:
      return NFR_UNICODE;
    case WM_NCDESTROY:
      // The window is going: nothing more to play, and nothing of ours may
      // stay attached to it.
      if (window == m_hookedWindow) {
        Stop();
        Unhook();
      }
      break;
    default:
      break;
  }
  return previous ? ::CallWindowProcW(previous, window, message, wParam, lParam)
                  : ::DefWindowProcW(window, message, wParam, lParam);
}
