#include "Script.h"

#include <algorithm>

#include "Duration.h"

namespace TTMLClient {

namespace {

const char* const kBlanks = " \t\r\n";

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The parts of a text between separators, trimmed; empty ones included.
std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = text.find(separator, start);
        parts.push_back(Trimmed(text.substr(start, end == std::string::npos ? end : end - start)));
        if (end == std::string::npos) {
            return parts;
        }
        start = end + 1;
    }
}

std::string Joined(const std::vector<std::string>& parts, const char* separator)
{
    std::string text;
    for (const std::string& part : parts) {
        text += text.empty() ? part : separator + part;
    }
    return text;
}

// Reads an age in years, or "none". False when it is neither.
bool ReadAge(const std::string& text, std::optional<int>& age)
{
    if (text == "none") {
        age.reset();
        return true;
    }
    if (text.empty() || text.size() > 2 || text.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    age = std::stoi(text);
    return true;
}

[[noreturn]] void Refuse(const std::string& complaint, const Vocabulary& vocabulary)
{
    throw ScriptError(complaint + "; valid words: " + WordForms(vocabulary));
}

void ReadArgument(const Word& word, const std::string& text, const Vocabulary& vocabulary, Step& step)
{
    const std::string name = "script word '" + word.name + "'";
    if (word.argument == Argument::None) {
        if (!text.empty()) {
            Refuse(name + " takes no argument, but has '" + text + "'", vocabulary);
        }
        return;
    }
    if (text.empty()) {
        Refuse(name + " lacks its argument", vocabulary);
    }

    if (word.argument == Argument::Duration) {
        const std::optional<std::chrono::milliseconds> duration = ParseDuration(text);
        if (!duration) {
            Refuse(name + " takes a time like 1500ms or 2s, not '" + text + "'", vocabulary);
        }
        step.duration = *duration;
    } else if (word.argument == Argument::Choice) {
        if (std::find(word.choices.begin(), word.choices.end(), text) == word.choices.end()) {
            Refuse(name + " takes " + Joined(word.choices, "|") + ", not '" + text + "'", vocabulary);
        }
        step.choice = text;
    } else if (word.argument == Argument::Text) {
        step.text = text;
    } else if (word.argument == Argument::Age) {
        if (!ReadAge(text, step.age)) {
            Refuse(name + " takes an age from 0 to 99, or none, not '" + text + "'", vocabulary);
        }
    } else {
        const std::vector<std::string> names = Split(text, ',');
        if (std::find(names.begin(), names.end(), "") != names.end()) {
            Refuse(name + " has an empty name in '" + text + "'", vocabulary);
        }
        step.names.assign(names.begin(), names.end());
    }
}

Step ReadStep(const std::string& text, const Vocabulary& vocabulary)
{
    const std::size_t end = text.find_first_of(kBlanks);
    Step step;
    step.word = text.substr(0, end);
    const auto word = std::find_if(vocabulary.begin(), vocabulary.end(),
                                   [&step](const Word& entry) { return entry.name == step.word; });
    if (word == vocabulary.end()) {
        Refuse("unknown script word '" + step.word + "'", vocabulary);
    }
    ReadArgument(*word, end == std::string::npos ? std::string() : Trimmed(text.substr(end)), vocabulary,
                 step);
    return step;
}

} // namespace

std::string Word::Form() const
{
    if (argument == Argument::None) {
        return name;
    }
    return name + " " + (argument == Argument::Choice ? Joined(choices, "|") : placeholder);
}

std::string WordForms(const Vocabulary& vocabulary)
{
    std::vector<std::string> forms;
    for (const Word& word : vocabulary) {
        forms.push_back(word.Form());
    }
    return Joined(forms, ", ");
}

Vocabulary TrackWords()
{
    return {
        {"play", Argument::None, "", {}},
        {"stop", Argument::None, "", {}},
        {"pause", Argument::None, "", {}},
        {"resume", Argument::None, "", {}},
        {"seek", Argument::Duration, "10s", {}},
        {"seek-done", Argument::None, "", {}},
        {"invalidate", Argument::None, "", {}},
        {"show", Argument::None, "", {}},
        {"hide", Argument::None, "", {}},
        {"fonts", Argument::Names, "NAME,...", {}},
        {"dnt", Argument::Choice, "", {"0", "1", "2"}},
        {"wait", Argument::Duration, "1500ms|2s", {}},
    };
}

Script ParseScript(const std::string& text, const Vocabulary& vocabulary)
{
    Script script;
    for (const std::string& part : Split(text, ';')) {
        if (!part.empty()) {
            script.push_back(ReadStep(part, vocabulary));
        }
    }
    if (script.empty()) {
        Refuse("the script is empty", vocabulary);
    }
    return script;
}

} // namespace TTMLClient
