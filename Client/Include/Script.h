#ifndef TTMLSRC_SCRIPT_H
#define TTMLSRC_SCRIPT_H

#include <chrono>
#include <list>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace TTMLClient {

// What a word of the script language takes.
enum class Argument
{
    None,
    Duration, // one length of time, see ParseDuration()
    Choice,   // one of the word's choices
    Names,    // names separated by commas; blanks inside a name belong to it
    Text,     // whatever stands there
    Age       // years, or "none"
};

// A word of the script language.
struct Word
{
    std::string name;
    Argument argument = Argument::None;
    std::string placeholder;          // how usage texts write the argument; empty for Choice
    std::vector<std::string> choices; // for Choice only

    // The word with its argument, as usage texts show it.
    std::string Form() const;
};

using Vocabulary = std::vector<Word>;

// One word of a script with its argument.
struct Step
{
    std::string word;
    std::chrono::milliseconds duration{0}; // Duration
    std::string choice;                    // Choice
    std::list<std::string> names;          // Names
    std::string text;                      // Text
    std::optional<int> age;                // Age; nothing for "none"
};

using Script = std::vector<Step>;

// A script that cannot be run; the text names the word and lists the valid ones.
class ScriptError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The words of a vocabulary with their arguments, as usage texts list them.
std::string WordForms(const Vocabulary& vocabulary);

// The words that every kind of source knows.
Vocabulary TrackWords();

// The steps of a script: words separated by semicolons, with blanks wherever one likes them and nothing
// between two semicolons where one likes that. Throws ScriptError.
Script ParseScript(const std::string& text, const Vocabulary& vocabulary);

} // namespace TTMLClient

#endif
