// The mutation fuzzer: see Fuzz.h.
#include "tests/support/Fuzz.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <windows.h>


namespace zortest {
namespace {

// splitmix64: tiny, and the same sequence on every compiler and target.
class Rng {
public:
  explicit Rng(uint64_t seed) : m_state(seed) {}
  uint64_t Next() {
    uint64_t z = (m_state += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  /// 0 .. n-1 (n > 0).
  size_t Below(size_t n) { return static_cast<size_t>(Next() % n); }

private:
  uint64_t m_state;
};

const std::string* g_input = nullptr;
uint32_t g_seed = 0;
int g_index = 0;

void Mutate(std::string& s, const std::vector<std::string>& samples,
            const std::vector<std::string>& tokens, Rng& rng) {
  static const char kBytes[] = {'\0', '\r', '\n', '"', '\'', '\xFF', '\xFE', ' ', '\t', '=',
                                '[', ']', '<', '>', '&', ';', ',', '/', '\x7F', '\x80'};
  const size_t edits = 1 + rng.Below(4);
  for (size_t e = 0; e < edits; ++e) {
    const size_t pos = s.empty() ? 0 : rng.Below(s.size() + 1);
    switch (rng.Below(9)) {
      case 0:
        if (!s.empty()) s[rng.Below(s.size())] ^= static_cast<char>(1u << rng.Below(8));
        break;
      case 1:
        if (!s.empty()) s[rng.Below(s.size())] = kBytes[rng.Below(sizeof kBytes)];
        break;
      case 2:
      case 3:
        if (!tokens.empty()) s.insert(pos, tokens[rng.Below(tokens.size())]);
        break;
      case 4:
        if (pos < s.size()) s.erase(pos, 1 + rng.Below(16));
        break;
      case 5: {  // a run of this input copied elsewhere
        if (s.empty()) break;
        const size_t from = rng.Below(s.size());
        const std::string run = s.substr(from, 1 + rng.Below(32));
        s.insert(rng.Below(s.size() + 1), run);
        break;
      }
      case 6: {  // splice: this input's head, another sample's tail
        const std::string& other = samples[rng.Below(samples.size())];
        if (!other.empty()) s = s.substr(0, pos) + other.substr(rng.Below(other.size()));
        break;
      }
      case 7: {  // a long run: sometimes past the 8,192-unit work buffers
        static const size_t kLengths[] = {63, 64, 259, 260, 261, 1000, 4097, 8191, 8192, 16400};
        const size_t n = kLengths[rng.Below(sizeof kLengths / sizeof kLengths[0])];
        s.insert(pos, n, "xA \"0"[rng.Below(5)]);
        break;
      }
      default:
        s.resize(pos);
        break;
    }
  }
}

}  // namespace

int Fuzz(const std::vector<std::string>& samples, const std::vector<std::string>& tokens,
         const FuzzOptions& options, const std::function<void(const std::string&)>& body) {
  Rng rng(options.seed);
  const DWORD start = GetTickCount();
  const bool failedBefore = ::testing::Test::HasFailure();
  int tried = 0;
  std::string input;
  g_input = &input;
  g_seed = options.seed;
  for (; tried < options.maxInputs && GetTickCount() - start < options.budgetMs; ++tried) {
    const size_t n = samples.size();
    input = static_cast<size_t>(tried) < n ? samples[tried] : samples[rng.Below(n)];
    if (static_cast<size_t>(tried) >= n) Mutate(input, samples, tokens, rng);
    g_index = tried;
    body(input);
    if (!failedBefore && ::testing::Test::HasFailure()) {
      ADD_FAILURE() << "fuzz input #" << tried << " (seed " << options.seed << "): " << EscapeBytes(input);
      ++tried;
      break;
    }
  }
  g_input = nullptr;
  return tried;
}

std::string CurrentFuzzInput() {
  if (!g_input) return std::string();
  const std::string& s = *g_input;
  std::string shown = EscapeBytes(s.size() > 600 ? s.substr(0, 600) : s);
  if (s.size() > 600) shown += "... (" + std::to_string(s.size()) + " bytes)";
  return "fuzz input #" + std::to_string(g_index) + " (seed " + std::to_string(g_seed) + "): " + shown;
}

}  // namespace zortest
