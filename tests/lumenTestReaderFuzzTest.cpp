// A short, repeatable fuzz run of every reader of test data: files mutated from the seeds that the
// libFuzzer targets start from as well.

#include <cstdio>
#include <random>

#include "fuzz/lumenReaderFuzz.h"
#include "lumenTestFiles.h"

namespace lumenFuzz {
// The name of a reader in that of its test.
static void PrintTo(const Reader& reader, std::ostream* out) { *out << reader.name; }
}  // namespace lumenFuzz

namespace {

constexpr int kMutants = 2000;

// What readers of numbers and lines stumble over.
constexpr std::string_view kFragments[] = {"\n",         "\r\n",       "#",
                                           "\"",         ",",          " ",
                                           "-",          "0",          "-1",
                                           "1",          "255",        "65536",
                                           "2147483647", "4294967296", "99999999999999999999",
                                           "1e999",      "nan",        "P6",
                                           ".data",      "../",        std::string_view("\0", 1),
                                           "\xff"};

class Mutator {
 public:
  Mutator(std::vector<std::string> seeds, unsigned int number)
      : seeds_(std::move(seeds)), random_(number) {}

  std::string next() {
    std::string text = seeds_[below(seeds_.size())];
    for (size_t changes = 1 + below(4); changes > 0; --changes) change(text);
    return text;
  }

 private:
  // std::uniform_int_distribution would differ between libraries.
  size_t below(size_t limit) { return limit ? random_() % limit : 0; }

  void change(std::string& text) {
    const size_t at = below(text.size() + 1),
                 length = below(1 + std::min<size_t>(text.size() - at, 16));
    const std::string_view fragment = kFragments[below(std::size(kFragments))];
    switch (below(8)) {
      case 0:
        text.resize(at);
        break;
      case 1:
        text.erase(at, length);
        break;
      case 2:
        text.insert(at, text.substr(at, length));
        break;
      case 3:
        text.insert(at, fragment);
        break;
      case 4:
        text = text.substr(0, at).append(fragment) + text.substr(at + length);
        break;
      case 5:
        text.insert(at, below(2) ? 300 : 40000, "# ,\t7x"[below(6)]);
        break;
      case 6:
        text.insert(at, seeds_[below(seeds_.size())]);
        break;
      default:
        if (at < text.size()) text[at] = static_cast<char>(random_());
    }
  }

  std::vector<std::string> seeds_;
  std::mt19937 random_;
};

std::vector<std::string> seedsOf(const std::string& reader) {
  // In the order of their names: a directory has none.
  std::vector<std::string> paths, seeds;
  for (const auto& entry :
       std::filesystem::directory_iterator(lumenFuzz::seedDirectory() + "/" + reader)) {
    paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  for (const std::string& path : paths) seeds.push_back(textOf(path));
  return seeds;
}

class ReaderFuzz : public testing::TestWithParam<lumenFuzz::Reader> {};

INSTANTIATE_TEST_SUITE_P(Readers, ReaderFuzz, testing::ValuesIn(lumenFuzz::kReaders),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace

TEST_P(ReaderFuzz, SurvivesMutatedSeeds) {
  const char* given = std::getenv("LUMEN_FUZZ_SEED");
  const unsigned int number =
      given ? static_cast<unsigned int>(std::strtoul(given, nullptr, 10)) : 1;
  // Printed before, since a crash leaves no chance later.
  std::printf("LUMEN_FUZZ_SEED=%u\n", number);
  std::fflush(stdout);

  const LogCapture log;
  const std::vector<std::string> seeds = seedsOf(GetParam().name);
  ASSERT_FALSE(seeds.empty());
  Mutator mutator(seeds, number);
  for (int mutant = 0; mutant < kMutants; ++mutant) {
    const std::string input = mutator.next();
    const char* wrong = GetParam().entry(input);
    ASSERT_EQ(wrong, nullptr) << wrong << ": mutant " << mutant << ", LUMEN_FUZZ_SEED=" << number
                              << "\n"
                              << input;
    CapturedLog::lines().clear();
  }
}
