#include "lumenTestExtras.h"

#include <fnmatch.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "lumenTestFunctions.h"
#include "lumenTestOptions.h"
#include "lumenTestSweepCase.h"

LUMEN_TEST_Extras lumenTestExtras;

namespace {

using Extras = LUMEN_TEST_Extras;

constexpr double kIsolateSeconds = 60;
constexpr double kMaxSeconds = 86400;
constexpr uint32_t kMaxRepeat = 1000000;

struct Addition {
  const char* name;             // without the dashes
  const char* help;             // what it does
  const char* takes = nullptr;  // what a value has to be; null: it takes none
  const char* shown = "";       // the value in the list of additions
  bool needsValue = true;
  // False for a value that is not what the addition takes; null: there is none.
  bool (*apply)(Extras& extras, const char* value);
};

template <bool Extras::*flag>
bool setFlag(Extras& extras, const char*) {
  return extras.*flag = true;
}

template <std::string Extras::*text>
bool setText(Extras& extras, const char* value) {
  extras.*text = value;
  return *value != '\0';
}

template <std::vector<std::string> Extras::*texts>
bool addText(Extras& extras, const char* value) {
  (extras.*texts).push_back(value);
  return *value != '\0';
}

template <double Extras::*seconds>
bool setSeconds(Extras& extras, const char* value) {
  char* end = nullptr;
  const double number = std::strtod(value, &end);
  if (!std::strchr("0123456789.", *value) || *end != '\0') return false;
  if (!(number > 0) || number > kMaxSeconds) return false;
  extras.*seconds = number;
  return true;
}

template <auto member, size_t kCount>
bool setChoice(Extras& extras, const char* value, const char* const (&names)[kCount]) {
  const auto found = std::find(names, names + kCount, std::string_view(value));
  if (found == names + kCount) return false;
  using Choice = std::remove_reference_t<decltype(extras.*member)>;
  extras.*member = static_cast<Choice>(found - names + 1);  // after `none`
  return true;
}

// A case that nothing can meet would otherwise end as a run that found no failure.
bool setCase(Extras& extras, const char* value) {
  const std::optional<LUMEN_TEST_NamedCase> named = LUMEN_TEST_ParseCase(value);
  if (!named || parseFunctionName(named->function.c_str()) == LUMEN_FUNC_NONE) return false;
  extras.caseText = value;
  return true;
}

bool setRepeat(Extras& extras, const char* value) {
  if (*value == '\0' || value[std::strspn(value, "0123456789")] != '\0') return false;
  const unsigned long number = std::strtoul(value, nullptr, 10);
  extras.repeat = static_cast<uint32_t>(std::min<unsigned long>(number, kMaxRepeat));
  return number >= 1 && number <= kMaxRepeat;
}

constexpr const char* kSecondsTaken = "a number of seconds above 0, at most 86400";
constexpr const char* kGlobTaken = "a pattern of *, ? and [...]";
constexpr const char* kFileTaken = "the name of a file";

constexpr Addition kAdditions[] = {
    {.name = "help", .help = "Prints this list.", .apply = setFlag<&Extras::help>},
    {.name = "strict",
     .help = "Failed checks of these additions, empty selections, and test data that are empty or\n"
             "cannot be read, fail the run as well.",
     .apply = setFlag<&Extras::strict>},
    {.name = "list",
     .help = "Names what would run, as MODULE/function/slot, and ends.",
     .apply = setFlag<&Extras::list>},
    {.name = "filter",
     .help =
         "Runs only what a pattern fits: a function, MODULE/function, MODULE/function/slot, or\n"
         "a module without functions. May be given several times; one has to fit.",
     .takes = kGlobTaken,
     .shown = "=GLOB",
     .apply = addText<&Extras::filters>},
    {.name = "exclude",
     .help = "Leaves out what the pattern fits. May be given several times.",
     .takes = kGlobTaken,
     .shown = "=GLOB",
     .apply = addText<&Extras::excludes>},
    {.name = "repeat",
     .help = "Runs everything N times, each time with the next seed.",
     .takes = "a whole number from 1 to 1000000",
     .shown = "=N",
     .apply = setRepeat},
    {.name = "stop-on-fail",
     .help = "Ends after the first function that fails in a slot.",
     .apply = setFlag<&Extras::stopOnFail>},
    {.name = "isolate",
     .help =
         "Runs each function in each slot in a process of its own, so that one that crashes or\n"
         "takes longer than SECONDS (60) fails alone.",
     .takes = kSecondsTaken,
     .shown = "[=SECONDS]",
     .needsValue = false,
     .apply =
         [](Extras& extras, const char* value) {
           if (value) return setSeconds<&Extras::isolateSeconds>(extras, value);
           extras.isolateSeconds = kIsolateSeconds;
           return true;
         }},
    {.name = "attest",
     .help = "Counts where calls go, and says when a slot's column was not reached.",
     .apply = setFlag<&Extras::attest>},
    {.name = "sweep",
     .help = "Compares with the reference on images of many sizes and contents.",
     .takes = "quick or full",
     .shown = "=quick|full",
     .apply =
         [](Extras& extras, const char* value) {
           return setChoice<&Extras::sweep>(extras, value, {"quick", "full"});
         }},
    {.name = "guard",
     .help = "Puts images next to memory that cannot be touched: behind the last byte, before the\n"
             "first, or behind each row.",
     .takes = "tail, head or row",
     .shown = "=tail|head|row",
     .apply =
         [](Extras& extras, const char* value) {
           return setChoice<&Extras::guard>(extras, value, {"tail", "head", "row"});
         }},
    {.name = "poison",
     .help = "Finds pixels that are not written, writes outside of the image, changed inputs.",
     .apply = setFlag<&Extras::poison>},
    {.name = "case",
     .help = "Runs that case alone, as the line about a failure gives it.",
     .takes = "the text of a case",
     .shown = "=CASE",
     .apply = setCase},
    {.name = "save-failing",
     .help = "Saves the images of cases that fail.",
     .takes = "the name of a directory",
     .shown = "=DIR",
     .apply = setText<&Extras::saveFailing>},
    {.name = "bench",
     .help = "Times each function for so long, its slots in turns, in the cache and out of it.",
     .takes = kSecondsTaken,
     .shown = "=SECONDS",
     .apply = setSeconds<&Extras::benchSeconds>},
    {.name = "json",
     .help = "Records the run in FILE, a JSON object on each line.",
     .takes = kFileTaken,
     .shown = "=FILE",
     .apply = setText<&Extras::json>},
    {.name = "junit",
     .help = "Writes the checks to FILE as JUnit XML.",
     .takes = kFileTaken,
     .shown = "=FILE",
     .apply = setText<&Extras::junit>},
    {.name = "selftest",
     .help = "Plants faults in lumAbsDiffu8 and fails unless the checks find each of them.",
     .apply = setFlag<&Extras::selfTest>},
};

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n'; }

// Splits a text into words; false when a quote is not closed.
bool splitWords(const char* text, std::vector<std::string>& words) {
  bool inWord = false, inQuotes = false;
  for (; *text; ++text) {
    if (!inQuotes && isBlank(*text)) {
      inWord = false;
      continue;
    }
    if (!inWord) words.emplace_back();
    inWord = true;
    if (*text == '"') inQuotes = !inQuotes;
    else words.back() += *text;
  }
  return !inQuotes;
}

bool readEnvironment(std::vector<std::string>& words) {
  const char* text = std::getenv("LUMEN_TEST_OPTS");
  return !text || splitWords(text, words);
}

// False, with a message, when the word is an addition with a value that it does not take.
bool readWord(const std::string& word, Extras& extras, std::vector<std::string>& unknown) {
  const size_t equals = word.find('=');
  const char* value = equals == std::string::npos ? nullptr : word.c_str() + equals + 1;
  const std::string name = word.substr(0, equals);
  const auto addition = std::find_if(std::begin(kAdditions), std::end(kAdditions), [&](auto& a) {
    return name.starts_with("--") && name.compare(2, name.npos, a.name) == 0;
  });
  if (addition == std::end(kAdditions)) {
    unknown.push_back(word);
    return true;
  }
  extras.given = true;
  if (value && !addition->takes) {
    std::fprintf(stderr, "ERROR: %s takes no value\n", name.c_str());
    return false;
  }
  if ((value || !addition->takes || !addition->needsValue) && addition->apply(extras, value)) {
    return true;
  }
  std::fprintf(stderr, "ERROR: %s takes %s, as %s%s%s%s%s\n", name.c_str(), addition->takes,
               name.c_str(), addition->shown, value ? "; not '" : "", value ? value : "",
               value ? "'" : "");
  return false;
}

bool matchesAny(const std::vector<std::string>& patterns,
                std::initializer_list<std::string> names) {
  return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
      return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
    });
  });
}

bool selected(const Extras& extras, std::initializer_list<std::string> names) {
  return (extras.filters.empty() || matchesAny(extras.filters, names)) &&
         !matchesAny(extras.excludes, names);
}

}  // namespace

// The text of a case begins with function and slot.
bool LUMEN_TEST_Extras::selects(const char* module, const char* function, char slot) const {
  const std::string inSlot = std::string(function) + "/" + slot;
  if (!caseText.empty() && !caseText.starts_with(inSlot + "/")) return false;
  const std::string prefix = std::string(module) + "/";
  return selected(*this, {function, prefix + function, prefix + inSlot});
}

bool LUMEN_TEST_Extras::selects(const char* module) const {
  return caseText.empty() && selected(*this, {module});
}

bool LUMEN_TEST_ReadExtras(int argc, const char* const* argv, LUMEN_TEST_Extras& extras) {
  std::vector<std::string> words, unknown;
  if (!readEnvironment(words)) {
    std::fputs("ERROR: LUMEN_TEST_OPTS has a double quote that is not closed\n", stderr);
    return false;
  }
  const std::vector<bool> isValue = LUMEN_TEST_FindOptionValues(argc, argv);
  for (int i = LUMEN_TEST_MIN_ARGUMENTS; i < argc; ++i) {
    if (!isValue[static_cast<size_t>(i)] && std::strncmp(argv[i], "--", 2) == 0) {
      words.push_back(argv[i]);
    }
  }
  for (const std::string& word : words) {
    if (!readWord(word, extras, unknown)) return false;
  }
  if (!extras.strict || unknown.empty()) return true;
  std::fprintf(stderr, "ERROR: '%s' is no addition; --help lists them\n", unknown[0].c_str());
  return false;
}

int LUMEN_TEST_CountExtraOptions() {
  std::vector<std::string> words;
  readEnvironment(words);
  return static_cast<int>(words.size());
}

void LUMEN_TEST_PrintExtrasHelp(const char* program) {
  std::fprintf(stderr,
               "USAGE: %s test_data_directory [options] [additions]\n"
               "Additions are also read from LUMEN_TEST_OPTS in the environment, words between "
               "blanks.\n",
               program);
  for (const Addition& addition : kAdditions) {
    std::fprintf(stderr, "--%s%s\n", addition.name, addition.shown);
    const char* line = addition.help;
    for (size_t length; *line; line += length + (line[length] == '\n')) {
      length = std::strcspn(line, "\n");
      std::fprintf(stderr, "        %.*s\n", static_cast<int>(length), line);
    }
  }
}
