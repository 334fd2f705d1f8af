// DeHTMLifyString and ParseForHTML: decoding rules, the quirks hosts rely on,
// and the bounds of the in-place buffer.
#include "tests/support/TestSupport.h"

#include <random>
#include <string>
#include <vector>

namespace {

std::wstring Decode(const std::wstring& in) {
  std::vector<wchar_t> buf(in.begin(), in.end());
  buf.push_back(0);
  DeHTMLifyString(buf.data(), static_cast<unsigned int>(buf.size()));
  return buf.data();
}

std::wstring Html(const std::wstring& in) {
  std::vector<wchar_t> text(in.begin(), in.end());
  text.push_back(0);
  std::vector<wchar_t> out(in.size() * 3 + 200, L'#');
  ParseForHTML(text.data(), static_cast<long>(in.size()), out.data(), static_cast<long>(out.size()));
  EXPECT_EQ(std::wstring(text.data()), in) << "the input must be unchanged on return";
  return out.data();
}

TEST(HtmlEntities, DecodesBasicReferencesAndUrlBlanks) {
  EXPECT_EQ(Decode(L"a%20b"), L"a b");
  EXPECT_EQ(Decode(L"&amp;"), L"&");
  EXPECT_EQ(Decode(L"&apos;&quot;"), L"'\"");
  EXPECT_EQ(Decode(L"x&copy;y"), L"x\x00A9y");
  EXPECT_EQ(Decode(L"&yuml;"), L"\x00FF");
  EXPECT_EQ(Decode(L"&#65;&#x41;"), L"AA");
  EXPECT_EQ(Decode(L"%20%20"), L"  ");
}

TEST(HtmlEntities, NbspIsAPlainBlank) { EXPECT_EQ(Decode(L"a&nbsp;b"), L"a b"); }

TEST(HtmlEntities, LtAndGtKeepTheirSemicolon) {
  // "&lt" and "&gt" are matched without a semicolon: the ';' stays behind.
  EXPECT_EQ(Decode(L"&lt;b&gt;"), L"<;b>;");
  EXPECT_EQ(Decode(L"&ltx"), L"<x");
}

TEST(HtmlEntities, HexReferencesUseHexStringToIntWeighting) {
  EXPECT_EQ(Decode(L"&#x100;"), std::wstring(1, static_cast<wchar_t>(32)));
  EXPECT_EQ(Decode(L"&#xff;"), L"\x00FF");
}

TEST(HtmlEntities, DecimalReferencesKeepTheLow16Bits) {
  EXPECT_EQ(Decode(L"&#65601;"), L"A");  // 65536 + 65
  EXPECT_EQ(Decode(L"&#8364;"), L"\x20AC");
}

TEST(HtmlEntities, MalformedReferencesStayAsWritten) {
  for (const wchar_t* s : {L"&#6a;", L"&#x4g;", L"&#65", L"&#x41", L"&#;", L"&#x;", L"&unknown;", L"&", L"&#",
                           L"&#X41;", L"&AMP;", L"%2", L"%2x"})
    EXPECT_EQ(Decode(s), s) << zortest::Escape(s);
}

TEST(HtmlEntities, ReferencesOfMoreThan15DigitsStay) {
  EXPECT_EQ(Decode(L"&#000000000000065;"), L"A");  // 15 digits
  EXPECT_EQ(Decode(L"&#0000000000000065;"), L"&#0000000000000065;");  // 16
  EXPECT_EQ(Decode(L"&#x00000000000041;"), L"A");  // 14 digits, weighted like HexStringToInt
  const std::wstring longHex = L"&#x" + std::wstring(16, L'1') + L";";
  EXPECT_EQ(Decode(longHex), longHex);
}

TEST(HtmlEntities, ReferenceToCodeZeroStays) {
  // A zero would cut the text short.
  EXPECT_EQ(Decode(L"a&#0;b"), L"a&#0;b");
  EXPECT_EQ(Decode(L"a&#65536;b"), L"a&#65536;b");
  EXPECT_EQ(Decode(L"a&#x0;b"), L"a&#x0;b");
}

TEST(HtmlEntities, ProducedCharactersAreNotDecodedAgain) {
  EXPECT_EQ(Decode(L"&amp;lt;"), L"&lt;");
  EXPECT_EQ(Decode(L"&amp;amp;"), L"&amp;");
  EXPECT_EQ(Decode(L"%2520"), L"%2520");
  EXPECT_EQ(Decode(L"&#37;20"), L"%20");
}

TEST(HtmlEntities, AllLatin1EntitiesInCodeOrder) {
  static const wchar_t* const kNames[] = {
      L"iexcl", L"cent", L"pound", L"curren", L"yen", L"brvbar", L"sect", L"uml", L"copy", L"ordf",
      L"laquo", L"not", L"shy", L"reg", L"macr", L"deg", L"plusmn", L"sup2", L"sup3", L"acute",
      L"micro", L"para", L"middot", L"cedil", L"sup1", L"ordm", L"raquo", L"frac14", L"frac12", L"frac34",
      L"iquest", L"Agrave", L"Aacute", L"Acirc", L"Atilde", L"Auml", L"Aring", L"AElig", L"Ccedil", L"Egrave",
      L"Eacute", L"Ecirc", L"Euml", L"Igrave", L"Iacute", L"Icirc", L"Iuml", L"ETH", L"Ntilde", L"Ograve",
      L"Oacute", L"Ocirc", L"Otilde", L"Ouml", L"times", L"Oslash", L"Ugrave", L"Uacute", L"Ucirc", L"Uuml",
      L"Yacute", L"THORN", L"szlig", L"agrave", L"aacute", L"acirc", L"atilde", L"auml", L"aring", L"aelig",
      L"ccedil", L"egrave", L"eacute", L"ecirc", L"euml", L"igrave", L"iacute", L"icirc", L"iuml", L"eth",
      L"ntilde", L"ograve", L"oacute", L"ocirc", L"otilde", L"ouml", L"divide", L"oslash", L"ugrave", L"uacute",
      L"ucirc", L"uuml", L"yacute", L"thorn", L"yuml"};
  ASSERT_EQ(sizeof(kNames) / sizeof(kNames[0]), 95u);
  for (int k = 0; k < 95; ++k) {
    std::wstring in = std::wstring(L"&") + kNames[k] + L";";
    EXPECT_EQ(Decode(in), std::wstring(1, static_cast<wchar_t>(161 + k))) << zortest::Escape(in);
    // Entity names are case-sensitive: only the listed spelling decodes.
    std::wstring noSemicolon = std::wstring(L"&") + kNames[k];
    EXPECT_EQ(Decode(noSemicolon), noSemicolon);
  }
}

TEST(HtmlEntities, BadArgumentsChangeNothing) {
  DeHTMLifyString(nullptr, 10);
  wchar_t empty[4] = {0, L'x', L'y', 0};
  DeHTMLifyString(empty, 4);
  EXPECT_EQ(empty[1], L'x');
  wchar_t text[] = L"&amp;";
  DeHTMLifyString(text, 1);
  EXPECT_STREQ(text, L"&amp;");
  DeHTMLifyString(text, 2);  // size is not otherwise used
  EXPECT_STREQ(text, L"&");
}

TEST(HtmlEntities, DecodingNeverWritesBehindTheTerminator) {
  wchar_t buf[16];
  for (wchar_t& c : buf) c = 0xCCCC;
  wcscpy(buf, L"&lt;&#65;%20");
  DeHTMLifyString(buf, 13);
  EXPECT_STREQ(buf, L"<;A ");
  EXPECT_EQ(buf[13], 0xCCCC);
  EXPECT_EQ(buf[15], 0xCCCC);
}

TEST(HtmlEntities, LongTextWithManyReferencesDecodesWhole) {
  std::wstring in, expected;
  for (int i = 0; i < 20000; ++i) {
    in += L"&amp;x&#66;";
    expected += L"&xB";
  }
  EXPECT_EQ(Decode(in), expected);
}

// The decoder runs in one pass; this reference replaces each reference where
// it stands with ReplaceTextW and moves on, step by step as documented. Both
// must agree on any text.
void ReferenceDecode(wchar_t* text) {
  static const wchar_t* const kNamed[][2] = {{L"&amp;", L"&"}, {L"&quot;", L"\""}, {L"&nbsp;", L" "},
                                             {L"&lt", L"<"},    {L"&gt", L">"},     {L"&copy;", L"\x00A9"}};
  for (size_t i = 0; i < wcslen(text); ++i) {
    if (wcsncmp(text + i, L"%20", 3) == 0) {
      ReplaceTextW(text, static_cast<unsigned int>(i), 3, L" ");
      continue;
    }
    if (text[i] != L'&') continue;
    const bool hex = wcsncmp(text + i, L"&#x", 3) == 0;
    if (hex || wcsncmp(text + i, L"&#", 2) == 0) {
      const size_t first = i + (hex ? 3 : 2);
      std::wstring digits;
      size_t j = first;
      for (; text[j] && text[j] != L';' && digits.size() < 16; ++j) digits += text[j];
      bool ok = text[j] == L';' && !digits.empty() && digits.size() <= 15;
      for (wchar_t c : digits) ok = ok && (hex ? IsHexCharacter(c) : (c >= L'0' && c <= L'9'));
      if (!ok) continue;
      int value = hex ? HexStringToInt(digits.c_str()) : static_cast<int>(_wcstoui64(digits.c_str(), nullptr, 10) & 0xFFFF);
      if (value < 0) continue;
      const wchar_t repl[2] = {static_cast<wchar_t>(value & 0xFFFF), 0};
      ReplaceTextW(text, static_cast<unsigned int>(i), static_cast<unsigned int>(j + 1 - i), repl);
      continue;
    }
    for (const auto& e : kNamed) {
      if (wcsncmp(text + i, e[0], wcslen(e[0])) == 0) {
        ReplaceTextW(text, static_cast<unsigned int>(i), static_cast<unsigned int>(wcslen(e[0])), e[1]);
        break;
      }
    }
  }
}

TEST(HtmlEntities, OnePassDecoderMatchesStepwiseReplacement) {
  static const wchar_t* const kPieces[] = {L"&", L"&", L"#", L"x", L";", L"amp;", L"lt", L"gt", L"nbsp;", L"copy;",
                                           L"quot;", L"4", L"1", L"0", L"9", L"g", L"%20", L"%2", L" ", L"65"};
  std::mt19937 rng(7);
  for (int round = 0; round < 3000; ++round) {
    std::wstring in;
    const int n = 1 + static_cast<int>(rng() % 14);
    for (int k = 0; k < n; ++k) in += kPieces[rng() % (sizeof(kPieces) / sizeof(kPieces[0]))];
    std::vector<wchar_t> expected(in.begin(), in.end());
    expected.push_back(0);
    ReferenceDecode(expected.data());
    EXPECT_EQ(Decode(in), std::wstring(expected.data())) << zortest::Escape(in);
  }
}

TEST(HtmlEntities, MailAddressBecomesMailtoLinkOthersStay) {
  EXPECT_EQ(Html(L"write me@home.net today"), L"write <a href=\"mailto:me@home.net\">me@home.net</a> today");
  EXPECT_EQ(Html(L"mailto:a@b.de"), L"<a href=\"mailto:a@b.de\">mailto:a@b.de</a>");
  // An '@' needs a '.' after it and one more unit.
  EXPECT_EQ(Html(L"a@b. x@y @a.b"), L"a@b. x@y @a.b");
}

TEST(HtmlEntities, WebAddressesBecomeLinks) {
  EXPECT_EQ(Html(L"see example.com now"), L"see <a href=\"http://example.com\">example.com</a> now");
  EXPECT_EQ(Html(L"http://x.net/a"), L"<a href=\"http://x.net/a\">http://x.net/a</a>");
  EXPECT_EQ(Html(L"mit.edu\tgnu.org"),
            L"<a href=\"http://mit.edu\">mit.edu</a>\t<a href=\"http://gnu.org\">gnu.org</a>");
  EXPECT_EQ(Html(L"www.example.net"), L"www.example.net");
  EXPECT_EQ(Html(L"EXAMPLE.COM"), L"EXAMPLE.COM");
}

TEST(HtmlEntities, WordsCarryingHrefStayUnchanged) {
  EXPECT_EQ(Html(L"<a href=\"x.com\">site</a>"), L"<a href=\"x.com\">site</a>");
  EXPECT_EQ(Html(L"href=x.com"), L"href=x.com");
}

TEST(HtmlEntities, SeparatorsAndTagsAreCopiedUnchanged) {
  EXPECT_EQ(Html(L"  a\r\n<>b<i>c</i> "), L"  a\r\n<>b<i>c</i> ");
  EXPECT_EQ(Html(L"<b>x.com</b>"), L"<b><a href=\"http://x.com\">x.com</a></b>");
  EXPECT_EQ(Html(L"a < b > c <"), L"a < b > c <");
}

TEST(HtmlEntities, ParseForHTMLHonoursLengthAndBadArguments) {
  wchar_t text[] = L"abc x.com";
  wchar_t out[64];
  ParseForHTML(text, 3, out, 64);
  EXPECT_STREQ(out, L"abc");
  ParseForHTML(text, 0, out, 64);
  EXPECT_STREQ(out, L"");
  out[0] = L'z';
  ParseForHTML(nullptr, 5, out, 64);
  EXPECT_STREQ(out, L"");
  ParseForHTML(text, 5, nullptr, 0);  // nothing to write to: nothing happens
  // A length beyond the text stops at its terminator.
  ParseForHTML(text, 1000, out, 64);
  EXPECT_STREQ(out, L"abc <a href=\"http://x.com\">x.com</a>");
}

TEST(HtmlEntities, LongAddressWordIsLinkedWhole) {
  // The link repeats the word: a 2,000-unit word needs more than the word
  // plus a fixed margin.
  std::wstring word = std::wstring(2000, L'w') + L".com";
  std::wstring expected = L"<a href=\"http://" + word + L"\">" + word + L"</a>";
  EXPECT_EQ(Html(word), expected);
}

}  // namespace
