// The product advertisement dialog.
#include <zorutils/catalogue/Catalogue.h>

#include <zorutils/strings/LanguageStrings.h>
#include <zorutils/strings/LanguageStrings_impl.h>
#include <zorutils/ui/DialogResources.h>
#include <zorutils/ui/LinkControl.h>
#include <zorutils/ui/WindowGeometry.h>

#include <cwchar>

namespace {

const COLORREF kLinkColour = RGB(0, 0, 238);

// What one shown dialog works with; lives on UT_ShowProductAdvert's stack.
struct TAdvertState {
  CProductCatalogue* catalogue;
  int index;
  HICON ownIcon;  // loaded from the product's icon file; destroyed after the dialog
  HFONT nameFont;  // the dialog's font in bold, for the name; likewise
  CLinkControl link;
};

TAdvertState* StateOf(HWND dialog) {
  return reinterpret_cast<TAdvertState*>(::GetWindowLongPtrW(dialog, DWLP_USER));
}

void SetCaption(HWND dialog, int id, const wchar_t* key, wchar_t* text, int chars) {
  text[0] = 0;
  MyLoadString(const_cast<wchar_t*>(key), text, chars - 1, GetUtilitiesStringFile(), true);
  ::SetDlgItemTextW(dialog, id, text);
}

void InitAdvert(HWND dialog, TAdvertState* state) {
  ::SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(state));
  const TCatalogueProduct* p = state->catalogue->GetProduct(state->index);
  CenterWindow(dialog, ::GetWindow(dialog, GW_OWNER), true, true, false);
  ::SetWindowTextW(dialog, p->name);
  ::SetDlgItemTextW(dialog, IDC_ZOR_ADVERT_NAME, p->name);
  LOGFONTW font;
  HFONT dialogFont = reinterpret_cast<HFONT>(::SendMessageW(dialog, WM_GETFONT, 0, 0));
  if (dialogFont && ::GetObjectW(dialogFont, sizeof font, &font)) {
    font.lfWeight = FW_BOLD;
    state->nameFont = ::CreateFontIndirectW(&font);
    ::SendDlgItemMessageW(dialog, IDC_ZOR_ADVERT_NAME, WM_SETFONT, reinterpret_cast<WPARAM>(state->nameFont), FALSE);
  }
  ::SetDlgItemTextW(dialog, IDC_ZOR_ADVERT_TEXT, p->description);

  wchar_t caption[256];
  SetCaption(dialog, IDOK, L"Download", caption, 256);
  SetCaption(dialog, IDCANCEL, L"Close", caption, 256);
  SetCaption(dialog, IDC_ZOR_ADVERT_DONOTSHOW, L"DoNotShowAgain", caption, 256);
  SetCaption(dialog, IDC_ZOR_ADVERT_LINK, L"ReadMore", caption, 256);
  HWND link = ::GetDlgItem(dialog, IDC_ZOR_ADVERT_LINK);
  if (p->infoAddress[0]) state->link.SubClass(link, caption, p->infoAddress, kLinkColour);
  else ::ShowWindow(link, SW_HIDE);

  wchar_t iconPath[MAX_PATH];
  if (p->iconFile[0] && ExpandFolderTokens(p->iconFile, iconPath, MAX_PATH)) {
    state->ownIcon = static_cast<HICON>(::LoadImageW(nullptr, iconPath, IMAGE_ICON, 32, 32, LR_LOADFROMFILE));
  }
  HICON icon = state->ownIcon ? state->ownIcon : ::LoadIconW(ZorModule(), MAKEINTRESOURCEW(IDI_ZOR_UTILITIES));
  ::SendDlgItemMessageW(dialog, IDC_ZOR_ADVERT_ICON, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);

  ::CheckDlgButton(dialog, IDC_ZOR_ADVERT_DONOTSHOW,
                   state->catalogue->IsSuppressed(state->index) ? BST_CHECKED : BST_UNCHECKED);
  ::SetForegroundWindow(dialog);
  ::SetFocus(::GetDlgItem(dialog, IDOK));
}

// Every way out keeps the box: a user who ticks it and closes the window
// with its close box has said the same as one who pressed Close.
void Finish(HWND dialog, int choice) {
  TAdvertState* state = StateOf(dialog);
  const bool suppress = ::IsDlgButtonChecked(dialog, IDC_ZOR_ADVERT_DONOTSHOW) == BST_CHECKED;
  state->catalogue->SetSuppressed(state->index, suppress);
  if (choice == ZOR_ADVERT_DOWNLOAD) state->catalogue->OpenDownload(state->index, dialog);
  ::EndDialog(dialog, choice);
}

INT_PTR CALLBACK AdvertDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      InitAdvert(dialog, reinterpret_cast<TAdvertState*>(lParam));
      return FALSE;  // the focus is set
    case WM_COMMAND: {
      const int id = LOWORD(wParam);
      if (id == IDOK || id == IDCANCEL) {
        Finish(dialog, id);
        return TRUE;
      }
      if (id == IDC_ZOR_ADVERT_LINK && HIWORD(wParam) == STN_CLICKED) {
        TAdvertState* state = StateOf(dialog);
        state->catalogue->OpenInformation(state->index, dialog);
        return TRUE;
      }
      return FALSE;
    }
    case WM_SETCURSOR: {
      TAdvertState* state = StateOf(dialog);
      POINT pt;
      ::GetCursorPos(&pt);
      ::ScreenToClient(dialog, &pt);
      if (state && state->link.m_oldProc && state->link.MouseOver(dialog, pt)) {
        ::SetCursor(::LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_HAND)));
        ::SetWindowLongPtrW(dialog, DWLP_MSGRESULT, TRUE);
        return TRUE;
      }
      return FALSE;
    }
    case WM_CLOSE:
      Finish(dialog, ZOR_ADVERT_CLOSE);
      return TRUE;
    case WM_DESTROY: {
      TAdvertState* state = StateOf(dialog);
      if (state) state->link.Restore();
      return FALSE;
    }
    default:
      return FALSE;
  }
}

}  // namespace

int UT_ShowProductAdvert(HWND owner, CProductCatalogue& catalogue, int index) {
  if (!catalogue.GetProduct(index)) return -1;
  TAdvertState state;
  state.catalogue = &catalogue;
  state.index = index;
  state.ownIcon = nullptr;
  state.nameFont = nullptr;
  const INT_PTR result = ::DialogBoxParamW(ZorModule(), MAKEINTRESOURCEW(IDD_ZOR_ADVERT), owner, AdvertDialogProc,
                                           reinterpret_cast<LPARAM>(&state));
  if (state.ownIcon) ::DestroyIcon(state.ownIcon);
  if (state.nameFont) ::DeleteObject(state.nameFont);
  return result == ZOR_ADVERT_DOWNLOAD || result == ZOR_ADVERT_CLOSE ? static_cast<int>(result) : -1;
}
