// HTML character references and HTML formatting of plain text.
#include <zorutils/text/HtmlEntities.h>

#include <zorutils/text/StringUtils.h>

#include <cwchar>
#include <cwctype>

namespace {

struct Entity {
  const wchar_t* text;
  unsigned short length;
  wchar_t character;
};

// The order is the order of trial. "&lt" and "&gt" deliberately carry no
// semicolon: hosts rely on "&lt;" coming out as "<;".
#define ZOR_ENTITY(text, ch) {text, static_cast<unsigned short>(sizeof(text) / sizeof(wchar_t) - 1), ch}
const Entity kEntities[] = {
    ZOR_ENTITY(L"&amp;", 38),     ZOR_ENTITY(L"&apos;", 39),    ZOR_ENTITY(L"&quot;", 34),
    ZOR_ENTITY(L"&nbsp;", 32),    ZOR_ENTITY(L"&lt", 60),       ZOR_ENTITY(L"&gt", 62),
    ZOR_ENTITY(L"&iexcl;", 161),  ZOR_ENTITY(L"&cent;", 162),   ZOR_ENTITY(L"&pound;", 163),
    ZOR_ENTITY(L"&curren;", 164), ZOR_ENTITY(L"&yen;", 165),    ZOR_ENTITY(L"&brvbar;", 166),
    ZOR_ENTITY(L"&sect;", 167),   ZOR_ENTITY(L"&uml;", 168),    ZOR_ENTITY(L"&copy;", 169),
    ZOR_ENTITY(L"&ordf;", 170),   ZOR_ENTITY(L"&laquo;", 171),  ZOR_ENTITY(L"&not;", 172),
    ZOR_ENTITY(L"&shy;", 173),    ZOR_ENTITY(L"&reg;", 174),    ZOR_ENTITY(L"&macr;", 175),
    ZOR_ENTITY(L"&deg;", 176),    ZOR_ENTITY(L"&plusmn;", 177), ZOR_ENTITY(L"&sup2;", 178),
    ZOR_ENTITY(L"&sup3;", 179),   ZOR_ENTITY(L"&acute;", 180),  ZOR_ENTITY(L"&micro;", 181),
    ZOR_ENTITY(L"&para;", 182),   ZOR_ENTITY(L"&middot;", 183), ZOR_ENTITY(L"&cedil;", 184),
    ZOR_ENTITY(L"&sup1;", 185),   ZOR_ENTITY(L"&ordm;", 186),   ZOR_ENTITY(L"&raquo;", 187),
    ZOR_ENTITY(L"&frac14;", 188), ZOR_ENTITY(L"&frac12;", 189), ZOR_ENTITY(L"&frac34;", 190),
    ZOR_ENTITY(L"&iquest;", 191), ZOR_ENTITY(L"&Agrave;", 192), ZOR_ENTITY(L"&Aacute;", 193),
    ZOR_ENTITY(L"&Acirc;", 194),  ZOR_ENTITY(L"&Atilde;", 195), ZOR_ENTITY(L"&Auml;", 196),
    ZOR_ENTITY(L"&Aring;", 197),  ZOR_ENTITY(L"&AElig;", 198),  ZOR_ENTITY(L"&Ccedil;", 199),
    ZOR_ENTITY(L"&Egrave;", 200), ZOR_ENTITY(L"&Eacute;", 201), ZOR_ENTITY(L"&Ecirc;", 202),
    ZOR_ENTITY(L"&Euml;", 203),   ZOR_ENTITY(L"&Igrave;", 204), ZOR_ENTITY(L"&Iacute;", 205),
    ZOR_ENTITY(L"&Icirc;", 206),  ZOR_ENTITY(L"&Iuml;", 207),   ZOR_ENTITY(L"&ETH;", 208),
    ZOR_ENTITY(L"&Ntilde;", 209), ZOR_ENTITY(L"&Ograve;", 210), ZOR_ENTITY(L"&Oacute;", 211),
    ZOR_ENTITY(L"&Ocirc;", 212),  ZOR_ENTITY(L"&Otilde;", 213), ZOR_ENTITY(L"&Ouml;", 214),
    ZOR_ENTITY(L"&times;", 215),  ZOR_ENTITY(L"&Oslash;", 216), ZOR_ENTITY(L"&Ugrave;", 217),
    ZOR_ENTITY(L"&Uacute;", 218), ZOR_ENTITY(L"&Ucirc;", 219),  ZOR_ENTITY(L"&Uuml;", 220),
    ZOR_ENTITY(L"&Yacute;", 221), ZOR_ENTITY(L"&THORN;", 222),  ZOR_ENTITY(L"&szlig;", 223),
    ZOR_ENTITY(L"&agrave;", 224), ZOR_ENTITY(L"&aacute;", 225), ZOR_ENTITY(L"&acirc;", 226),
    ZOR_ENTITY(L"&atilde;", 227), ZOR_ENTITY(L"&auml;", 228),   ZOR_ENTITY(L"&aring;", 229),
    ZOR_ENTITY(L"&aelig;", 230),  ZOR_ENTITY(L"&ccedil;", 231), ZOR_ENTITY(L"&egrave;", 232),
    ZOR_ENTITY(L"&eacute;", 233), ZOR_ENTITY(L"&ecirc;", 234),  ZOR_ENTITY(L"&euml;", 235),
    ZOR_ENTITY(L"&igrave;", 236), ZOR_ENTITY(L"&iacute;", 237), ZOR_ENTITY(L"&icirc;", 238),
    ZOR_ENTITY(L"&iuml;", 239),   ZOR_ENTITY(L"&eth;", 240),    ZOR_ENTITY(L"&ntilde;", 241),
    ZOR_ENTITY(L"&ograve;", 242), ZOR_ENTITY(L"&oacute;", 243), ZOR_ENTITY(L"&ocirc;", 244),
    ZOR_ENTITY(L"&otilde;", 245), ZOR_ENTITY(L"&ouml;", 246),   ZOR_ENTITY(L"&divide;", 247),
    ZOR_ENTITY(L"&oslash;", 248), ZOR_ENTITY(L"&ugrave;", 249), ZOR_ENTITY(L"&uacute;", 250),
    ZOR_ENTITY(L"&ucirc;", 251),  ZOR_ENTITY(L"&uuml;", 252),   ZOR_ENTITY(L"&yacute;", 253),
    ZOR_ENTITY(L"&thorn;", 254),  ZOR_ENTITY(L"&yuml;", 255),
};
#undef ZOR_ENTITY
static_assert(sizeof(kEntities) / sizeof(kEntities[0]) == 101, "the entity table has 101 entries");

// The digit buffer of a reference holds 16 units with its terminator.
const size_t kMaxReferenceDigits = 15;

bool IsDecimal(wchar_t c) { return c >= L'0' && c <= L'9'; }

// Reads the digits of a numeric reference starting at `p` up to its ';'.
// Returns the digit count (0 when the reference is not well formed: another
// unit, the end of the text, no digits or too many of them).
template <class IsDigit>
size_t ReferenceDigits(const wchar_t* p, IsDigit isDigit) {
  size_t n = 0;
  while (p[n] != L';') {
    if (p[n] == 0 || !isDigit(p[n]) || n == kMaxReferenceDigits) return 0;
    ++n;
  }
  return n;
}

// The character a reference at `p` (which starts with '&') decodes to and the
// number of units it spans; false when it is left as written.
bool DecodeReference(const wchar_t* p, wchar_t* character, size_t* span) {
  if (p[1] == L'#') {
    if (p[2] == L'x') {
      size_t n = ReferenceDigits(p + 3, IsHexCharacter);
      if (n > 0) {
        wchar_t digits[kMaxReferenceDigits + 1];
        wmemcpy(digits, p + 3, n);
        digits[n] = 0;
        int value = HexStringToInt(digits);
        if (value > 0) {
          *character = static_cast<wchar_t>(value);
          *span = n + 4;
          return *character != 0;
        }
        return false;
      }
      // Not a hexadecimal reference: "&#x" cannot pass as a decimal one.
      return false;
    }
    size_t n = ReferenceDigits(p + 2, IsDecimal);
    if (n == 0) return false;
    // Unsigned arithmetic wraps like the runtime's %d conversion; only the
    // low 16 bits are kept anyway.
    unsigned int value = 0;
    for (size_t k = 0; k < n; ++k) value = value * 10u + static_cast<unsigned int>(p[2 + k] - L'0');
    *character = static_cast<wchar_t>(value & 0xFFFF);
    *span = n + 3;
    return *character != 0;
  }
  for (const Entity& e : kEntities) {
    if (wcsncmp(p, e.text, e.length) == 0) {
      *character = e.character;
      *span = e.length;
      return true;
    }
  }
  return false;
}

// --- ParseForHTML helpers ---

bool StartsWith(const wchar_t* p, const wchar_t* end, const wchar_t* prefix) {
  for (; *prefix; ++p, ++prefix)
    if (p >= end || *p != *prefix) return false;
  return true;
}

bool IsSeparator(wchar_t c) { return iswspace(c) || c == L'<' || c == L'>'; }

// Appends text to the output, keeping it terminated.
class Output {
public:
  explicit Output(wchar_t* out) : m_p(out) { *m_p = 0; }
  void Append(const wchar_t* s, size_t n) {
    wmemcpy(m_p, s, n);
    m_p += n;
    *m_p = 0;
  }
  void Append(const wchar_t* s) { Append(s, wcslen(s)); }

private:
  wchar_t* m_p;
};

bool IsEmailWord(const wchar_t* w, const wchar_t* end, bool* hasMailto) {
  *hasMailto = StartsWith(w, end, L"mailto:");
  const wchar_t* at = nullptr;
  bool dotAfterAt = false;
  // An address cannot start with '@': the scan starts at the second unit.
  for (const wchar_t* p = w + 1; p < end; ++p) {
    if (StartsWith(p, end, L"href")) {
      if (!at) return false;
      p += 3;
      continue;
    }
    if (StartsWith(p, end, L"mailto:")) *hasMailto = true;
    if (*p == L'@' && !at) {
      at = p;
    } else if (at && *p == L'.' && p + 1 < end) {
      dotAfterAt = true;
    }
  }
  return at && dotAfterAt;
}

// 0: not a web address, 1: explicit "http://", 2: a domain suffix only.
int WebWordKind(const wchar_t* w, const wchar_t* end) {
  static const wchar_t* const kSuffixes[] = {L".com", L".edu", L".org"};
  bool http = false, www = false, domain = false;
  for (const wchar_t* p = w; p < end; ++p) {
    if (StartsWith(p, end, L"href")) {
      if (!http && !www) return 0;
      p += 3;
    } else if (StartsWith(p, end, L"http://")) {
      http = true;
      p += 6;
    } else if (StartsWith(p, end, L"www")) {
      www = true;
      p += 2;
    } else {
      for (const wchar_t* suffix : kSuffixes) {
        if (StartsWith(p, end, suffix)) {
          domain = true;
          break;
        }
      }
    }
  }
  return http ? 1 : (domain ? 2 : 0);
}

}  // namespace

void DeHTMLifyString(wchar_t* text, unsigned int size) {
  if (!text || !*text || size < 2) return;
  // One pass with a read and a write position: the text never grows, and the
  // part still to be read is exactly the original tail, so the outcome equals
  // replacing each reference where it stands and moving on behind it.
  const wchar_t* r = text;
  wchar_t* w = text;
  while (*r) {
    if (r[0] == L'%' && r[1] == L'2' && r[2] == L'0') {
      *w++ = L' ';
      r += 3;
      continue;
    }
    if (*r == L'&') {
      wchar_t c;
      size_t span;
      if (DecodeReference(r, &c, &span)) {
        *w++ = c;
        r += span;
        continue;
      }
    }
    *w++ = *r++;
  }
  *w = 0;
}

void ParseForHTML(wchar_t* text, long length, wchar_t* out, long outSize) {
  (void)outSize;
  if (!out) return;
  Output o(out);
  if (!text || length < 1) return;
  // A zero unit ends the text early: nothing behind it is read.
  const wchar_t* end = text;
  for (long i = 0; i < length && text[i]; ++i) ++end;
  const wchar_t* p = text;
  while (p < end) {
    // The separating run: white space, and whole tags copied unchanged.
    const wchar_t* sep = p;
    while (p < end) {
      if (*p == L'<') {
        const wchar_t* close = p + 1;
        while (close < end && *close != L'>') ++close;
        p = close < end ? close + 1 : p + 1;
      } else if (IsSeparator(*p)) {
        ++p;
      } else {
        break;
      }
    }
    o.Append(sep, static_cast<size_t>(p - sep));
    if (p >= end) break;
    const wchar_t* word = p;
    while (p < end && !IsSeparator(*p)) ++p;
    const size_t n = static_cast<size_t>(p - word);
    bool hasMailto = false;
    if (IsEmailWord(word, p, &hasMailto)) {
      o.Append(hasMailto ? L"<a href=\"" : L"<a href=\"mailto:");
    } else {
      int kind = WebWordKind(word, p);
      if (kind == 0) {
        o.Append(word, n);
        continue;
      }
      o.Append(kind == 1 ? L"<a href=\"" : L"<a href=\"http://");
    }
    o.Append(word, n);
    o.Append(L"\">");
    o.Append(word, n);
    o.Append(L"</a>");
  }
}
