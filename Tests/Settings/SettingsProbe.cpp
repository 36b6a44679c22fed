// A program that does with the settings what its arguments say, one after another, and prints what came of
// it.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

#include "HostSettings.h"

namespace {

constexpr unsigned int kNobody = 65534;

void PrintResult(int result, int value)
{
    if (result == 0) {
        std::printf("%d\n", value);
    } else {
        std::printf("failed\n");
    }
}

void List()
{
    for (const TTMLHost::Setting& setting : TTMLHost::ListSettings()) {
        std::printf("%s %s %d\n", setting.key.c_str(),
                    setting.type == TTMLHost::SettingType::Bool ? "bool" : "int", setting.value);
    }
}

// From now on no file can grow, as on a full disk.
void LimitFiles()
{
    (void)std::signal(SIGXFSZ, SIG_IGN);
    const rlimit none = {0, 0};
    if (setrlimit(RLIMIT_FSIZE, &none) != 0) {
        std::printf("no limit\n");
    }
}

// A user whom permissions bind. Whoever is one already stays that.
void BecomeNobody()
{
    if (getuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) {
        std::printf("still root\n");
    }
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        int value = -1;
        if (word == "get-int") {
            const int result = vconf_get_int(words.at(++i).c_str(), &value);
            PrintResult(result, value);
        } else if (word == "get-bool") {
            const int result = vconf_get_bool(words.at(++i).c_str(), &value);
            PrintResult(result, value);
        } else if (word == "set-int" || word == "set-bool") {
            const std::string& key = words.at(++i);
            value = std::atoi(words.at(++i).c_str());
            const int result =
                word == "set-int" ? vconf_set_int(key.c_str(), value) : vconf_set_bool(key.c_str(), value);
            PrintResult(result, value);
        } else if (word == "list") {
            List();
        } else if (word == "problem") {
            std::printf("%s\n", TTMLHost::SettingsProblem().c_str());
        } else if (word == "limit-files") {
            LimitFiles();
        } else if (word == "become-nobody") {
            BecomeNobody();
        } else {
            std::printf("no such word: %s\n", word.c_str());
            return 1;
        }
    }
    return 0;
}
