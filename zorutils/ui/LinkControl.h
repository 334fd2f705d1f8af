// CLinkControl: a static control turned into an underlined hyperlink.
//
// The object subclasses the control and paints its text in the link colour
// with a line under it; the host asks MouseOver to change the cursor and
// opens the link itself (LaunchBrowser, say) when the control is clicked
// (give it SS_NOTIFY to get STN_CLICKED).
#pragma once

#include <zorutils/Export.h>

#include <windows.h>

class ZORUTILS_API CLinkControl {
public:
  /// Clears the texts, the rectangle and the previous procedure.
  CLinkControl();
  /// Restore: gives the control its own window procedure back.
  ~CLinkControl();

  /// Takes over `control`: keeps `text` (cut to 511 code units; null is
  /// empty; drawn in place of the control's own text) and `link` (cut to
  /// 2047), paints in `colour`, and measures the text once with the parent's
  /// font. The object keeps itself in the control's GWLP_USERDATA. The
  /// control this object held before is given back first, and so is
  /// `control` by another link object holding it: a control has one link
  /// object at a time. Returns 1; 0, changing nothing, when `control` is not
  /// a window.
  int SubClass(HWND control, const wchar_t* text, const wchar_t* link, COLORREF colour);
  /// The subclassed control's procedure: paints on WM_PAINT (result 0),
  /// hands every other message to the control's previous procedure
  /// (DefWindowProc when there is none).
  LRESULT WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  /// Non-zero when `point` (in `dialog`'s client coordinates) is on the link:
  /// the area starts at the control's left edge whatever the alignment and is
  /// as wide and tall as the text rectangle's right and bottom reach. 0 when
  /// the control is no longer a window (or none was subclassed).
  int MouseOver(HWND dialog, POINT point);
  /// The link given to SubClass (empty before).
  const wchar_t* GetLink();
  /// The text rectangle in the control's client coordinates, as of the last
  /// paint (or SubClass): aligned as the control's SS_LEFT, SS_CENTER or
  /// SS_RIGHT style says, 7 pixels taller than the text to take the underline.
  /// All zero before SubClass.
  RECT GetLastHitRect();
  /// Puts the control's previous window procedure back and clears its
  /// GWLP_USERDATA (nothing if not subclassed; a control already destroyed
  /// is just forgotten). The texts stay.
  void Restore();

  wchar_t m_text[512];    ///< the text drawn
  wchar_t m_link[2048];   ///< the target handed to the host
  WNDPROC m_oldProc;      ///< the control's own procedure; null when not subclassed
  HWND m_hWnd;            ///< the control
  RECT m_textRect;        ///< where the text was drawn, control client coordinates
  COLORREF m_colour;      ///< text and underline colour
};
static_assert(sizeof(CLinkControl) == (sizeof(void*) == 4 ? 5148 : 5160),
              "CLinkControl layout is fixed");
