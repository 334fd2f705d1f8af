// CPromoScript: the painter. Every picture is drawn into a memory drawing
// context that WM_PAINT copies to the window; transitions compose their
// frames from 24-bit DIB sections: the source picture (A), the new picture
// (B) and the blended output.
#include <zorutils/promo/PromoScript.h>

#include <zorutils/promo/Blend.h>
#include <zorutils/promo/PromoInternal.h>

#include <cstring>
#include <cwchar>

namespace {

// Bytes in one row of a 24-bit DIB: padded to a multiple of four.
inline size_t RowBytes(int width) { return ((static_cast<size_t>(width) * 24 + 31) / 32) * 4; }

// Copies a rectangle between a DC and a bitmap (or two bitmaps) through a
// short-lived memory DC.
class BitmapDC {
public:
  BitmapDC(HDC like, HBITMAP bitmap) : m_dc(::CreateCompatibleDC(like)), m_old(nullptr) {
    if (m_dc) m_old = ::SelectObject(m_dc, bitmap);
  }
  ~BitmapDC() {
    if (m_dc) {
      ::SelectObject(m_dc, m_old);
      ::DeleteDC(m_dc);
    }
  }
  BitmapDC(const BitmapDC&) = delete;
  BitmapDC& operator=(const BitmapDC&) = delete;
  HDC get() const { return m_dc; }

private:
  HDC m_dc;
  HGDIOBJ m_old;
};

void Blit(HDC to, int x, int y, int w, int h, HDC from) {
  if (w > 0 && h > 0) ::BitBlt(to, x, y, w, h, from, x, y, SRCCOPY);
}

}  // namespace

// --- Resources --------------------------------------------------------------------

bool CPromoScript::InitializePaintStuff() {
  ClearResources();
  if (!::IsWindow(m_window)) return false;
  RECT client;
  ::GetClientRect(m_window, &client);
  // A window not yet sized still gets a surface, so the first paint works.
  const int width = client.right > 0 ? client.right : 1;
  const int height = client.bottom > 0 ? client.bottom : 1;
  HDC windowDC = ::GetDC(m_window);
  m_memDC = ::CreateCompatibleDC(windowDC);
  m_memBitmap = ::CreateCompatibleBitmap(windowDC, width, height);
  ::ReleaseDC(m_window, windowDC);
  if (!m_memDC || !m_memBitmap) {
    ClearResources();
    return false;
  }
  m_memOldBitmap = ::SelectObject(m_memDC, m_memBitmap);
  m_memWidth = width;
  m_memHeight = height;
  ::SetBkMode(m_memDC, TRANSPARENT);
  SelectCurrentFont();
  ApplyTextColors();
  RECT all = {0, 0, width, height};
  ::FillRect(m_memDC, &all, m_bgBrush);
  return true;
}

void CPromoScript::ClearResources() {
  if (m_memDC) {
    if (m_memOldBitmap) ::SelectObject(m_memDC, m_memOldBitmap);
    if (m_memOldFont) ::SelectObject(m_memDC, m_memOldFont);
    ::SelectObject(m_memDC, ::GetStockObject(WHITE_BRUSH));
    ::DeleteDC(m_memDC);
  }
  if (m_memBitmap) ::DeleteObject(m_memBitmap);
  if (m_memFont) ::DeleteObject(m_memFont);
  if (m_bgBrush) ::DeleteObject(m_bgBrush);
  if (m_transitionBrush) ::DeleteObject(m_transitionBrush);
  m_memDC = nullptr;
  m_memBitmap = nullptr;
  m_memOldBitmap = nullptr;
  m_memFont = nullptr;
  m_memOldFont = nullptr;
  m_bgBrush = nullptr;
  m_transitionBrush = nullptr;
  m_memWidth = m_memHeight = 0;
}

void CPromoScript::DeleteBitmaps() {
  zorpromo::FreeFrame(m_bitmapA, m_bitsA);
  zorpromo::FreeFrame(m_bitmapB, m_bitsB);
  zorpromo::FreeFrame(m_bitmapOut, m_bitsOut);
  m_newPictureTaken = false;
}

void CPromoScript::ApplyTextColors() {
  if (!m_memDC) return;
  ::SetTextColor(m_memDC, m_textColor);
  HBRUSH brush = ::CreateSolidBrush(m_bgColor);
  if (!brush) return;
  ::SelectObject(m_memDC, brush);
  if (m_bgBrush) ::DeleteObject(m_bgBrush);
  m_bgBrush = brush;
}

void CPromoScript::SelectCurrentFont() {
  if (!m_memDC) return;
  HFONT font = ::CreateFontIndirectW(&m_font);
  if (!font) return;
  HGDIOBJ old = ::SelectObject(m_memDC, font);
  if (!m_memOldFont) m_memOldFont = old;
  if (m_memFont) ::DeleteObject(m_memFont);
  m_memFont = font;
}

bool CPromoScript::CreateBitmap(HBITMAP& bitmap, unsigned char*& bits, int width, int height) {
  zorpromo::FreeFrame(bitmap, bits);
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // top-down: row 0 is the top
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = BI_RGB;
  void* pixels = nullptr;
  bitmap = ::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &pixels, nullptr, 0);
  bits = static_cast<unsigned char*>(pixels);
  if (!bitmap || !bits) {
    zorpromo::FreeFrame(bitmap, bits);
    return false;
  }
  m_frameWidth = width;
  m_frameHeight = height;
  return true;
}

bool CPromoScript::CreateSolidSourceBitmap(int width, int height) {
  if (!CreateBitmap(m_bitmapA, m_bitsA, width, height)) return false;
  const unsigned char pixel[3] = {GetBValue(m_transitionColor), GetGValue(m_transitionColor),
                                  GetRValue(m_transitionColor)};
  const size_t rowBytes = RowBytes(width);
  for (int y = 0; y < height; ++y) {
    unsigned char* row = m_bitsA + rowBytes * static_cast<size_t>(y);
    for (int x = 0; x < width; ++x) memcpy(row + 3 * static_cast<size_t>(x), pixel, 3);
  }
  return true;
}

// --- Painting ---------------------------------------------------------------------

void CPromoScript::OnPaint(const RECT& client) {
  if (!m_memDC) return;
  const int width = m_memWidth;
  const int height = m_memHeight;
  const bool transition =
      m_transitionTime > 0 && zorpromo::IsFrameEffect(m_transitionEffect) && !m_inClearPause;

  // The first paint of a transition keeps the picture shown until now.
  if (transition && !m_transitionTimer && !m_transitionStart && EffectUsesPrevFrame() &&
      CreateBitmap(m_bitmapA, m_bitsA, width, height)) {
    BitmapDC source(m_memDC, m_bitmapA);
    Blit(source.get(), 0, 0, width, height, m_memDC);
    ::GdiFlush();
  }

  int p = 100;
  if (transition) {
    const DWORD now = zorpromo::Now();
    if (!m_transitionStart) m_transitionStart = now ? now : 1;
    const long long elapsed = static_cast<int>(now - m_transitionStart);
    const long long progress = elapsed * 100 / m_transitionTime;
    p = progress < 0 ? 0 : progress > 100 ? 100 : static_cast<int>(progress);
    if (p >= 100 && m_transitionTimer) {
      // Finished: later paints draw the picture plainly, and the text's wait
      // starts now.
      KillTimer(m_transitionTimer);
      m_transitionTime = 0;
      if (!m_halted) StartMainTimer();
    }
  }

  if (m_revealDue && m_pendingText[0]) {
    const size_t shown = wcslen(m_shownText);
    if (shown < 2047) {
      m_shownText[shown] = m_pendingText[0];
      m_shownText[shown + 1] = 0;
    }
    memmove(m_pendingText, m_pendingText + 1, wcslen(m_pendingText) * sizeof(wchar_t));
  }
  m_revealDue = false;

  DrawPicture(m_memDC, client);

  if (transition) {
    DrawTransitionFrame(p, width, height);
    if (p < 100 && !m_transitionTimer && !m_halted)
      m_transitionTimer = ::SetTimer(nullptr, 0, 5, TimerProc);
  }
}

void CPromoScript::DrawPicture(HDC dc, const RECT& client) {
  RECT text = client;
  text.left += LeftMargin(&client);
  text.top += TopMargin(&client);
  text.right -= RightMargin(&client);
  text.bottom -= BottomMargin(&client);

  if (m_bgBrush) ::FillRect(dc, &client, m_bgBrush);
  if (m_ownerDrawBg && m_ownerDrawHandler) {
    const int saved = ::SaveDC(dc);
    m_ownerDrawHandler(dc, text, m_ownerDrawName, zorpromo::Now() - m_ownerDrawStart,
                       m_ownerDrawCount, m_ownerDrawUser);
    ::RestoreDC(dc, saved);
    if (m_ownerDrawRefresh > 0 && !m_ownerDrawTimer && !m_halted) {
      m_ownerDrawTimer =
          ::SetTimer(nullptr, 0, static_cast<UINT>(m_ownerDrawRefresh), TimerProc);
      m_ownerDrawCount = 0;
    }
  }

  // A text waiting out its clear pause is not drawn yet.
  if (m_inClearPause || !m_shownText[0]) return;
  ::SetTextColor(dc, m_textColor);
  ::SetBkMode(dc, TRANSPARENT);
  if (m_vertAlign != 0) {
    RECT measure = text;
    ::DrawTextW(dc, m_shownText, -1, &measure, m_textFormat | DT_CALCRECT);
    const LONG textHeight = measure.bottom - measure.top;
    LONG top;
    if (m_vertAlign == 1) {
      top = (text.bottom - textHeight) / 2;
    } else {
      TEXTMETRICW metrics = {};
      ::GetTextMetricsW(dc, &metrics);
      top = text.bottom - metrics.tmHeight / 2 - textHeight;
    }
    text.top = top < 0 ? 0 : top;
  }
  ::DrawTextW(dc, m_shownText, -1, &text, m_textFormat);
}

void CPromoScript::DrawTransitionFrame(int p, int width, int height) {
  if (!m_newPictureTaken) {
    // The new picture is taken once per step, as first drawn.
    if (CreateBitmap(m_bitmapB, m_bitsB, width, height)) {
      BitmapDC picture(m_memDC, m_bitmapB);
      Blit(picture.get(), 0, 0, width, height, m_memDC);
    }
    if (!m_bitmapOut) CreateBitmap(m_bitmapOut, m_bitsOut, width, height);
    if (EffectUsesSolidColorSource()) CreateSolidSourceBitmap(width, height);
    m_newPictureTaken = true;
    ::GdiFlush();
  }
  if (!m_bitmapA || !m_bitsA || !m_bitmapB || !m_bitsB || !m_bitmapOut || !m_bitsOut ||
      m_frameWidth != width || m_frameHeight != height)
    return;

  const size_t rowBytes = RowBytes(width);
  const size_t frameBytes = rowBytes * static_cast<size_t>(height);
  BitmapDC a(m_memDC, m_bitmapA);
  BitmapDC b(m_memDC, m_bitmapB);
  BitmapDC out(m_memDC, m_bitmapOut);

  switch (m_transitionEffect) {
    case kPromoEffectColorFade:
    case kPromoEffectFramesCrossfade:
      zorpromo::BlendBytes(m_bitsA, m_bitsB, m_bitsOut, frameBytes, p);
      Blit(m_memDC, 0, 0, width, height, out.get());
      break;
    case kPromoEffectFramesFade: {
      // Into the transition colour over the first half, out of it over the second.
      const int q = p <= 50 ? 2 * p : 2 * (100 - p);
      zorpromo::BlendTowardColor(p <= 50 ? m_bitsA : m_bitsB, m_bitsOut, rowBytes, width,
                                 height, m_transitionColor, q);
      Blit(m_memDC, 0, 0, width, height, out.get());
      break;
    }
    case kPromoEffectColorFramePop:
      if (p < 100)
        zorpromo::BlendTowardColor(m_bitsA, m_bitsOut, rowBytes, width, height,
                                   m_transitionColor, p);
      else
        memcpy(m_bitsOut, m_bitsB, frameBytes);
      Blit(m_memDC, 0, 0, width, height, out.get());
      break;
    case kPromoEffectColorRectOut:
    case kPromoEffectColorRectIn: {
      if (!m_transitionBrush || m_transitionBrushColor != m_transitionColor) {
        if (m_transitionBrush) ::DeleteObject(m_transitionBrush);
        m_transitionBrush = ::CreateSolidBrush(m_transitionColor);
        m_transitionBrushColor = m_transitionColor;
      }
      const int share = m_transitionEffect == kPromoEffectColorRectOut ? p : 100 - p;
      const int w = width * share / 100;
      const int h = height * share / 100;
      const int x0 = (width - w) / 2;
      const int y0 = (height - h) / 2;
      RECT all = {0, 0, width, height};
      RECT centre = {x0, y0, x0 + w, y0 + h};
      if (m_transitionEffect == kPromoEffectColorRectOut) {
        ::FillRect(m_memDC, &all, m_transitionBrush);
        Blit(m_memDC, x0, y0, w, h, b.get());
      } else {
        Blit(m_memDC, 0, 0, width, height, b.get());
        if (w > 0 && h > 0) ::FillRect(m_memDC, &centre, m_transitionBrush);
      }
      break;
    }
    case kPromoEffectWipeLR:
    case kPromoEffectWipeRL:
    case kPromoEffectColorWipeLR:
    case kPromoEffectColorWipeRL: {
      const int w = width * p / 100;
      const bool fromLeft =
          m_transitionEffect == kPromoEffectWipeLR || m_transitionEffect == kPromoEffectColorWipeLR;
      Blit(m_memDC, 0, 0, width, height, a.get());
      Blit(m_memDC, fromLeft ? 0 : width - w, 0, w, height, b.get());
      break;
    }
    default:
      break;
  }
}
