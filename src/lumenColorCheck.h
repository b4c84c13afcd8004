// What the entries of the conversions between YCbCr and RGB check. Their conditions are made of
// terms that many functions have in common, so that each term is written once; the log quotes the
// terms of a function as one condition.

#ifndef LUMEN_COLOR_CHECK_H
#define LUMEN_COLOR_CHECK_H

#include <string>

#include "lumenEntry.h"

// A part of a condition, with its text.
struct lumTerm {
  bool met;
  const char* text;
};
#define LUM_TERM(condition) \
  lumTerm { static_cast<bool>(condition), #condition }

// A destination or source stride and the bytes of a packed row, which it may stand for as 0.
struct lumStrideOf {
  uint32_t& stride;
  uint64_t rowBytes;
};

// What remote units ask: a DSP addresses and strides of whole words, a GPU even sizes.
template <class Entry, class... T>
void lumRemoteNeeds(Entry& entry, uint32_t width, uint32_t height, T... addressesAndStrides) {
  if (entry.onDsp()) entry.needs(lumMultipleOf<4>(addressesAndStrides...));
  if (entry.onGpu()) entry.needs(lumMultipleOf<2>(width, height));
}

// Whether all terms are met and all packed rows have a length that 32 bits can count. Strides of 0
// are replaced then; otherwise the log tells why not.
template <class Entry, size_t kTerms, size_t kStrides>
bool lumAccept(const Entry& entry, const lumTerm (&terms)[kTerms],
               const lumStrideOf (&strides)[kStrides]) {
  bool met = true;
  for (const lumTerm& term : terms) met = met && term.met;
  if (lumUnlikely(!met)) {
    std::string text;
    for (const lumTerm& term : terms) text += (text.empty() ? "" : " && ") + std::string(term.text);
    entry.refuse(text.c_str());
    return false;
  }
  for (const lumStrideOf& s : strides) {
    if (lumUnlikely(s.stride == 0 && s.rowBytes > UINT32_MAX)) {
      entry.refuse("rowBytes <= UINT32_MAX");
      return false;
    }
    lumPack(s.stride, s.rowBytes);
  }
  return true;
}

#endif  // LUMEN_COLOR_CHECK_H
