// CPromoScript: the text properties of a promo text (font, colours,
// alignment, margins, owner-drawn background, transition) and the colour
// names scripts may use.
#include <zorutils/promo/PromoScript.h>

#include <zorutils/internal/FormatTo.h>
#include <zorutils/promo/PromoInternal.h>

#include <cwchar>

namespace {

struct NamedColor {
  const wchar_t* name;
  int systemColor;  // -1: the fixed colour below
  COLORREF color;
};

const NamedColor kColors[] = {
    {L"BTNFACE", COLOR_BTNFACE, 0},
    {L"BTNTEXT", COLOR_BTNTEXT, 0},
    {L"MENU", COLOR_MENU, 0},
    {L"MENUTEXT", COLOR_MENUTEXT, 0},
    {L"WINDOW", COLOR_WINDOW, 0},
    {L"WINDOWTEXT", COLOR_WINDOWTEXT, 0},
    {L"black", -1, RGB(0, 0, 0)},
    {L"white", -1, RGB(255, 255, 255)},
    {L"red", -1, RGB(255, 0, 0)},
    {L"green", -1, RGB(0, 255, 0)},
    {L"blue", -1, RGB(0, 0, 255)},
    {L"gray", -1, RGB(128, 128, 128)},
    {L"pink", -1, RGB(255, 128, 255)},
    {L"yellow", -1, RGB(255, 255, 0)},
    {L"light yellow", -1, RGB(255, 255, 128)},
    {L"maroon", -1, RGB(128, 0, 0)},
    {L"orange", -1, RGB(255, 128, 0)},
    {L"cyan", -1, RGB(0, 255, 255)},
    {L"navy", -1, RGB(0, 0, 128)},
};

// Effect names in code order.
const wchar_t* const kEffects[] = {
    L"none",         L"per-char delay",       L"color fade",     L"frames crossfade",
    L"frames fade",  L"color frame fade pop", L"color rect out", L"color rect in",
    L"wipe LR",      L"wipe RL",              L"color wipe LR",  L"color wipe RL",
};

// Margin keys by side: left, top, right, bottom.
const wchar_t* const kMarginKeys[4] = {L"left margin", L"top margin", L"right margin",
                                       L"bottom margin"};
const wchar_t* const kPctMarginKeys[4] = {L"left pct margin", L"top pct margin",
                                          L"right pct margin", L"bottom pct margin"};

// A "1"/"0" switch: other values leave the setting alone.
template <class T>
void ReadSwitch(const wchar_t* value, T& setting, T on, T off) {
  if (wcscmp(value, L"1") == 0) setting = on;
  else if (wcscmp(value, L"0") == 0) setting = off;
}

// The index of `value` in `names`, or -1.
template <size_t N>
int IndexOf(const wchar_t* value, const wchar_t* const (&names)[N]) {
  for (size_t i = 0; i < N; ++i)
    if (wcscmp(value, names[i]) == 0) return static_cast<int>(i);
  return -1;
}

// pct percent of `extent` with 32-bit products, as the margins always had.
int Percent(int pct, LONG extent) {
  return static_cast<int>(static_cast<unsigned>(pct) * static_cast<unsigned>(extent)) / 100;
}

}  // namespace

bool CPromoScript::GetColorFromString(const wchar_t* text, unsigned long& colour) {
  if (!text || !*text) return false;
  int number;
  if (zorpromo::ParseNumber(text, number)) {
    if (number >= 0) colour = static_cast<unsigned long>(number);
    return true;
  }
  for (const NamedColor& c : kColors) {
    if (wcscmp(text, c.name) == 0) {
      colour = c.systemColor >= 0 ? ::GetSysColor(c.systemColor) : c.color;
      return true;
    }
  }
  return false;
}

void CPromoScript::LoadCurrentTextProperties(const wchar_t* section, int subStep,
                                             bool applyNow) {
  if (!section || !*section) return;
  wchar_t key[96];
  wchar_t value[260];
  // Reads `name` (with the sub-step suffix when there is one) into `value`.
  auto read = [&](const wchar_t* name) -> const wchar_t* {
    if (subStep >= 1)
      zor::FormatTo(key, L"%s.%d", name, subStep);
    else
      zor::FormatTo(key, L"%s", name);
    m_script.GetString(section, key, L"", value, 260);
    return value;
  };
  auto readSize = [&](const wchar_t* name, int& out) {
    int v;
    if (zorpromo::ParseNumber(read(name), v) && v >= 0) {
      out = v;
      return true;
    }
    return false;
  };

  if (*read(L"typeface")) {
    wcsncpy(m_font.lfFaceName, value, LF_FACESIZE - 1);
    m_font.lfFaceName[LF_FACESIZE - 1] = 0;
  }
  int size;
  if (readSize(L"font size", size)) m_font.lfHeight = -size;
  // "font size@W" wins on a screen W pixels wide.
  wchar_t sized[64];
  zor::FormatTo(sized, L"font size@%d", ::GetSystemMetrics(SM_CXFULLSCREEN));
  if (readSize(sized, size)) m_font.lfHeight = -size;

  LONG weight = m_font.lfWeight;
  ReadSwitch<LONG>(read(L"bold"), weight, FW_BOLD, FW_NORMAL);
  m_font.lfWeight = weight;
  ReadSwitch<BYTE>(read(L"italic"), m_font.lfItalic, TRUE, FALSE);
  ReadSwitch<BYTE>(read(L"underline"), m_font.lfUnderline, TRUE, FALSE);

  static const wchar_t* const kHorz[] = {L"left", L"center", L"right"};
  static const wchar_t* const kVert[] = {L"top", L"center", L"bottom"};
  int align = IndexOf(read(L"horz"), kHorz);
  if (align >= 0) m_horzAlign = align;
  align = IndexOf(read(L"vert"), kVert);
  if (align >= 0) m_vertAlign = align;
  m_textFormat = DT_WORDBREAK | DT_NOPREFIX |
                 (m_horzAlign == 1 ? DT_CENTER : m_horzAlign == 2 ? DT_RIGHT : 0);

  unsigned long colour = m_textColor;
  if (GetColorFromString(read(L"text color"), colour)) {
    m_textColor = colour;
    if (applyNow && m_memDC) ::SetTextColor(m_memDC, m_textColor);
  }
  colour = m_bgColor;
  if (GetColorFromString(read(L"bg color"), colour)) {
    m_bgColor = colour;
    if (applyNow) ApplyTextColors();
  }

  // Within one section both kinds of a side's margin stand (the larger
  // wins when painting); a section setting only one kind resets the other.
  for (int side = 0; side < 4; ++side) {
    int pixels, pct;
    const bool hasPixels = zorpromo::ParseNumber(read(kMarginKeys[side]), pixels);
    const bool hasPct = zorpromo::ParseNumber(read(kPctMarginKeys[side]), pct);
    if (hasPixels) m_margin[side] = pixels;
    if (hasPct) m_pctMargin[side] = pct;
    if (hasPixels && !hasPct) m_pctMargin[side] = 0;
    if (hasPct && !hasPixels) m_margin[side] = 0;
  }

  if (*read(L"owner draw bg")) {
    int on;
    m_ownerDrawBg = zorpromo::ParseNumber(value, on) && on == 1;
  }
  if (*read(L"owner draw bg name")) wcscpy(m_ownerDrawName, value);
  readSize(L"owner draw bg refresh", m_ownerDrawRefresh);
  readSize(L"transition time", m_transitionTime);
  colour = m_transitionColor;
  if (GetColorFromString(read(L"transition color"), colour)) m_transitionColor = colour;
  const int effect = IndexOf(read(L"transition effect"), kEffects);
  if (effect >= 0) m_transitionEffect = effect;
}

void CPromoScript::ResetTextProperties() {
  wcscpy(m_font.lfFaceName, L"Arial");
  m_font.lfHeight = -14;
  m_font.lfWeight = FW_NORMAL;
  m_font.lfItalic = FALSE;
  m_font.lfUnderline = FALSE;
  m_bgColor = ::GetSysColor(COLOR_BTNFACE);
  m_textColor = ::GetSysColor(COLOR_BTNTEXT);
  for (int side = 0; side < 4; ++side) m_margin[side] = m_pctMargin[side] = 0;
  m_ownerDrawBg = false;
  wcscpy(m_previousOwnerDrawName, m_ownerDrawName);
  m_ownerDrawName[0] = 0;
  m_ownerDrawRefresh = 0;
  m_transitionTime = 0;
  m_transitionEffect = kPromoEffectNone;
  m_transitionColor = 0;
}

bool CPromoScript::EffectUsesPrevFrame() const {
  switch (m_transitionEffect) {
    case kPromoEffectFramesCrossfade:
    case kPromoEffectFramesFade:
    case kPromoEffectColorFramePop:
    case kPromoEffectWipeLR:
    case kPromoEffectWipeRL:
      return true;
    default:
      return false;
  }
}

bool CPromoScript::EffectUsesSolidColorSource() const {
  switch (m_transitionEffect) {
    case kPromoEffectColorFade:
    case kPromoEffectColorRectOut:
    case kPromoEffectColorRectIn:
    case kPromoEffectColorWipeLR:
    case kPromoEffectColorWipeRL:
      return true;
    default:
      return false;
  }
}

// --- Margins ------------------------------------------------------------------

// The larger of side `side`'s pixel margin and its percentage of the given
// rectangle's right (left and right sides) or bottom (top and bottom) edge;
// the output window's client area when no rectangle is given.
int CPromoScript::MarginOf(int side, const RECT* rect) const {
  RECT r = {0, 0, 0, 0};
  if (rect)
    r = *rect;
  else if (m_window)
    ::GetClientRect(m_window, &r);
  const int pct = Percent(m_pctMargin[side], side % 2 == 0 ? r.right : r.bottom);
  return pct > m_margin[side] ? pct : m_margin[side];
}

int CPromoScript::LeftMargin(const RECT* rect) const { return MarginOf(0, rect); }
int CPromoScript::TopMargin(const RECT* rect) const { return MarginOf(1, rect); }
int CPromoScript::RightMargin(const RECT* rect) const { return MarginOf(2, rect); }
int CPromoScript::BottomMargin(const RECT* rect) const { return MarginOf(3, rect); }
