#include "lumenTestSweepCase.h"

#include <charconv>
#include <cstdio>
#include <span>

#include "lumenTestRandom.h"
#include "lumenTestSweepLayout.h"

namespace {

constexpr std::string_view kChecks[] = {"sweep", "tail", "head", "row", "poison"};
constexpr std::string_view kPatterns[] = {"random", "zeros", "max", "min", "ramp",
                                          "alt",    "hot",   "inf", "nan", "sub"};
constexpr std::string_view kScalars[] = {"random", "least", "greatest", "zero", "one"};

template <class T>
bool parseWord(std::string_view word, std::span<const std::string_view> words, T& value) {
  for (size_t i = 0; i < words.size(); ++i) {
    if (words[i] != word) continue;
    value = static_cast<T>(i);
    return true;
  }
  return false;
}

// Takes what stands before `mark` off the front of `text`, and the mark; everything when there is
// none.
std::string_view takeUntil(std::string_view& text, char mark) {
  const size_t end = text.find(mark);
  const std::string_view taken = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return taken;
}

template <class T>
bool takeNumber(std::string_view& text, T& value, int base = 10) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return true;
}

bool takeLetter(std::string_view& text, char letter) {
  if (!text.starts_with(letter)) return false;
  text.remove_prefix(1);
  return true;
}

// A letter and its number. One that may be left out is then 0, and never written so.
bool takeSize(std::string_view& text, char letter, uint32_t& value) {
  return takeLetter(text, letter) && takeNumber(text, value) && value > 0;
}
bool takeOption(std::string_view& text, char letter, uint32_t& value) {
  return !text.starts_with(letter) || takeSize(text, letter, value);
}

bool parseLayout(std::string_view text, LUMEN_TEST_SweepCase& c) {
  if (!takeSize(text, 'w', c.width) || !takeSize(text, 'h', c.height) ||
      !takeOption(text, 'p', c.readPadding) || !takeOption(text, 'q', c.writtenPadding)) {
    return false;
  }
  if (takeLetter(text, 'z')) c.strides = LUMEN_TEST_StrideChoice::zero;
  else if (takeLetter(text, 'a')) c.strides = LUMEN_TEST_StrideChoice::aligned;
  if (!takeOption(text, 'o', c.misaligned)) return false;
  if (takeLetter(text, 'i')) {
    LUMEN_TEST_InPlace inPlace = {};
    if (!takeNumber(text, inPlace.written) || !takeLetter(text, '.') ||
        !takeNumber(text, inPlace.read)) {
      return false;
    }
    c.inPlace = inPlace;
  }
  return text.empty();
}

bool parseContents(std::string_view text, LUMEN_TEST_SweepCase& c) {
  std::string_view patterns = takeUntil(text, '@');
  if (!text.empty() && !parseWord(text, kScalars, c.scalars)) return false;
  if (!parseWord(takeUntil(patterns, '+'), kPatterns, c.pattern[0])) return false;
  c.pattern[1] = c.pattern[0];
  return patterns.empty() || parseWord(patterns, kPatterns, c.pattern[1]);
}

std::string layoutText(const LUMEN_TEST_SweepCase& c) {
  std::string text;
  const auto add = [&](char letter, uint32_t value) {
    text += letter;
    text += std::to_string(value);
  };
  const auto addOption = [&](char letter, uint32_t value) {
    if (value) add(letter, value);
  };
  add('w', c.width);
  add('h', c.height);
  addOption('p', c.readPadding);
  addOption('q', c.writtenPadding);
  if (c.strides == LUMEN_TEST_StrideChoice::zero) text += 'z';
  if (c.strides == LUMEN_TEST_StrideChoice::aligned) text += 'a';
  addOption('o', c.misaligned);
  if (c.inPlace) {
    add('i', c.inPlace->written);
    add('.', c.inPlace->read);
  }
  return text;
}

template <class T>
std::string_view word(std::span<const std::string_view> words, T value) {
  return words[static_cast<size_t>(value)];
}

std::string contentsText(const LUMEN_TEST_SweepCase& c) {
  std::string text(word(kPatterns, c.pattern[0]));
  if (c.pattern[1] != c.pattern[0]) {
    text += '+';
    text += word(kPatterns, c.pattern[1]);
  }
  if (c.scalars != LUMEN_TEST_ScalarChoice{}) {
    text += '@';
    text += word(kScalars, c.scalars);
  }
  return text;
}

bool isIn(uint32_t index, std::span<const LUMEN_TEST_Image> images, bool written) {
  return index < images.size() && images[index].isWritten == written;
}

}  // namespace

bool LUMEN_TEST_SweepCase::fits(const LUMEN_TEST_Description& description) const {
  const auto images = description.images;
  if (!description.sizes.allow(width, height) || (uint64_t{misaligned} >> images.size()) != 0) {
    return false;
  }
  if (inPlace) {
    if (!isIn(inPlace->written, images, true) || !isIn(inPlace->read, images, false) ||
        !(images[inPlace->written].inPlaceOf >> inPlace->read & 1)) {
      return false;
    }
  }
  const bool isForIntegers = pattern[0] <= LUMEN_TEST_LAST_INTEGER_PATTERN &&
                             pattern[1] <= LUMEN_TEST_LAST_INTEGER_PATTERN;
  if (!isForIntegers) {
    for (const LUMEN_TEST_Image& image : images) {
      if (!image.isWritten && image.type != LUMEN_TEST_Type::f32) return false;
    }
  }
  LUMEN_TEST_Layout layout;
  return LUMEN_TEST_LayOut(description, *this, layout);
}

void LUMEN_TEST_SweepCase::seedFor(const LUMEN_TEST_Description& description, uint64_t runSeed) {
  const std::string text =
      std::string(description.name) + "/" + layoutText(*this) + "/" + contentsText(*this);
  seed = static_cast<uint32_t>(LUMEN_TEST_Mix(LUMEN_TEST_Hash(text) ^ LUMEN_TEST_Mix(runSeed)));
}

std::string LUMEN_TEST_NamedCase::text() const {
  char seed[16];
  std::snprintf(seed, sizeof(seed), "%x", static_cast<unsigned int>(sweepCase.seed));
  std::string text = function + '/' + slot + '/';
  text += word(kChecks, check);
  for (const std::string& part :
       {layoutText(sweepCase), contentsText(sweepCase), std::string(seed)}) {
    text += '/';
    text += part;
  }
  return text;
}

std::optional<LUMEN_TEST_NamedCase> LUMEN_TEST_ParseCase(std::string_view text) {
  LUMEN_TEST_NamedCase named = {};
  named.function = takeUntil(text, '/');
  const std::string_view slot = takeUntil(text, '/');
  if (named.function.empty() || slot.size() != 1) return {};
  named.slot = slot[0];
  if (!parseWord(takeUntil(text, '/'), kChecks, named.check) ||
      !parseLayout(takeUntil(text, '/'), named.sweepCase) ||
      !parseContents(takeUntil(text, '/'), named.sweepCase) ||
      !takeNumber(text, named.sweepCase.seed, 16) || !text.empty()) {
    return {};
  }
  return named;
}
