// DeHTMLifyString and ParseForHTML: decoding rules, the quirks hosts rely on,
// and the bounds of the caller's buffers under fuzzed input.
#include "tests/support/Fuzz.h"
#include "tests/support/TestSupport.h"

namespace {

std::wstring Decode(std::wstring in) {
  DeHTMLifyString(&in[0], static_cast<unsigned int>(in.size() + 1));
  return in.c_str();
}

std::wstring Html(std::wstring in, long length = -1) {
  std::vector<wchar_t> out(in.size() * 3 + 200, L'#');
  ParseForHTML(&in[0], length < 0 ? static_cast<long>(in.size()) : length, out.data(), static_cast<long>(out.size()));
  return out.data();
}

TEST(HtmlEntities, DecodesReferencesWithTheirQuirks) {
  static const wchar_t* const kCases[][2] = {
      {L"a%20b%20", L"a b "}, {L"&amp;&apos;&quot;", L"&'\""}, {L"x&copy;y", L"x\x00A9y"},
      {L"&iexcl;&times;&szlig;&divide;&yuml;", L"\x00A1\x00D7\x00DF\x00F7\x00FF"},
      {L"a&nbsp;b", L"a b"}, {L"&lt;b&gt;&ltx", L"<;b>;<x"},  // a plain blank; "&lt" and "&gt" carry no ';'
      {L"&#65;&#x41;&#xff;&#x100;", L"AA\x00FF "}, {L"&#65601;&#x1;", L"A\x0001"},  // HexStringToInt; low 16 bits
      {L"&#000000000000065;", L"A"}, {L"&#0000000000000065;", L"&#0000000000000065;"},  // 15 / 16 digits
      {L"a&#0;b&#65536;&#x0;", L"a&#0;b&#65536;&#x0;"},  // a zero would cut the text short
      {L"&amp;lt;&amp;amp;%2520&#37;20", L"&lt;&amp;%2520%20"}};  // produced text is not decoded again
  for (const auto& c : kCases) EXPECT_EQ(Decode(c[0]), c[1]) << zortest::Escape(c[0]);
  for (const wchar_t* s : {L"&#6a;", L"&#x4g;", L"&#65", L"&#x41", L"&#;", L"&#x;", L"&unknown;", L"&", L"&#",
                           L"&#X41;", L"&AMP;", L"&Yuml;", L"&eacute", L"%2", L"%2x"})
    EXPECT_EQ(Decode(s), s) << "malformed, stays: " << zortest::Escape(s);
  DeHTMLifyString(nullptr, 10);
  wchar_t text[] = L"&amp;";
  DeHTMLifyString(text, 1);  // a size below 2 does nothing; otherwise it is not used
  EXPECT_STREQ(text, L"&amp;");
  DeHTMLifyString(text, 2);
  EXPECT_STREQ(text, L"&");
}

TEST(HtmlEntities, AddressWordsBecomeLinksOthersStay) {
  static const wchar_t* const kCases[][2] = {
      {L"write me@home.net today", L"write <a href=\"mailto:me@home.net\">me@home.net</a> today"},
      {L"mailto:a@b.de", L"<a href=\"mailto:a@b.de\">mailto:a@b.de</a>"},
      {L"a@b. x@y @a.b www.example.net EXAMPLE.COM", L"a@b. x@y @a.b www.example.net EXAMPLE.COM"},
      {L"http://x.net/a", L"<a href=\"http://x.net/a\">http://x.net/a</a>"},
      {L"mit.edu\tgnu.org", L"<a href=\"http://mit.edu\">mit.edu</a>\t<a href=\"http://gnu.org\">gnu.org</a>"},
      {L"<a href=\"x.com\">site</a> href=x.com", L"<a href=\"x.com\">site</a> href=x.com"},
      {L"  a\r\n<>b<i>c</i> a < b > c <", L"  a\r\n<>b<i>c</i> a < b > c <"},
      {L"<b>x.com</b>", L"<b><a href=\"http://x.com\">x.com</a></b>"}};
  for (const auto& c : kCases) EXPECT_EQ(Html(c[0]), c[1]) << zortest::Escape(c[0]);
  EXPECT_EQ(Html(L"abc x.com", 3), L"abc");
  EXPECT_EQ(Html(L"abc x.com", 1000), L"abc <a href=\"http://x.com\">x.com</a>");  // stops at the terminator
  wchar_t out[4] = L"z";
  ParseForHTML(nullptr, 5, out, 4);
  EXPECT_STREQ(out, L"");
  ParseForHTML(out, 5, nullptr, 0);
}

// Decodes `in` in a buffer with guard units behind it; the result must fit the input's length.
std::wstring CheckedDecode(const std::vector<wchar_t>& in) {
  std::vector<wchar_t> buf(in);
  buf.resize(in.size() + 4, 0xCCCC);
  DeHTMLifyString(buf.data(), static_cast<unsigned int>(in.size()));
  const wchar_t* end = wmemchr(buf.data(), 0, wcslen(in.data()) + 1);
  EXPECT_TRUE(end) << "not terminated within the input's length";
  EXPECT_EQ(std::wstring(buf.end() - 4, buf.end()), std::wstring(4, 0xCCCC)) << "written behind the buffer";
  return std::wstring(buf.data(), end ? static_cast<size_t>(end - buf.data()) : 0);
}

TEST(HtmlEntities, FuzzedTextStaysWithinItsBuffers) {
  const std::vector<std::string> samples = {
      "Tom &amp; Jerry&nbsp;&copy; 2001: &lt;b&gt;caf&eacute;&yuml;%20&quot;x&quot; see www.x.com or me@x.org",
      "&#65;&#x41;&#8364;&#x100;&#65601;&#000000000000065;&#0000000000000065; http://a.b/c?d=e&amp;f",
      "broken: &#6a; &#x4g; &#; &#x; &unknown; &AMP; &#65 %2 &ampx &#x41 &#" + std::string(40, '9'),
      std::string(200, '&') + "&amp;amp;lt;%2520" + std::string(100, ';')};
  zortest::Fuzz(samples, {"&amp;", "&#", "&#x", ";", "&", "%20", "&lt", "@a.com"}, {}, [](const std::string& bytes) {
    std::vector<wchar_t> in(bytes.begin(), bytes.end());
    for (wchar_t& c : in) c &= 0xFF;
    in.push_back(0);
    const size_t n = wcslen(in.data());
    EXPECT_EQ(CheckedDecode(in), CheckedDecode(in)) << "the same input decodes the same way";
    EXPECT_TRUE(bytes.find_first_of("&%") != std::string::npos || CheckedDecode(in) == in.data()) << "no reference";
    // Links repeat a word and add at most 30 units: twice the text plus 30 per word.
    const size_t bound = 2 * n + 30 * (n / 2 + 1) + 1;
    std::vector<wchar_t> text(in), out(bound + 4, 0xCCCC);
    ParseForHTML(text.data(), static_cast<long>(n), out.data(), static_cast<long>(bound));
    EXPECT_TRUE(text == in) << "ParseForHTML changed its input";
    EXPECT_TRUE(wmemchr(out.data(), 0, bound)) << "ParseForHTML output not terminated within its bound";
    EXPECT_EQ(std::wstring(out.end() - 4, out.end()), std::wstring(4, 0xCCCC));
  });
}

}  // namespace
