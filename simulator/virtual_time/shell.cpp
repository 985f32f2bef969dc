#include "simulator/virtual_time/shell.h"

#include <cstdio>
#include <sstream>

namespace virtual_time {

void Shell::AddRule(const std::string& part, ShellAnswer answer, int times) {
    rules_.push_back({part, std::move(answer), times == 0 ? -1 : times});
}

ShellAnswer Shell::Run(const std::string& command, bool is_popen, int64_t now_us) {
    if (on_call) on_call({now_us, command, is_popen});
    if (!is_popen) ActOnFolder(command);
    for (auto rule = rules_.rbegin(); rule != rules_.rend(); ++rule) {
        if (rule->times_left == 0 || command.find(rule->part) == std::string::npos) continue;
        if (rule->times_left > 0) --rule->times_left;
        ShellAnswer answer = rule->answer;
        if (answer.complete) answer.complete(command, &answer);
        return answer;
    }
    return {};
}

void Shell::ActOnFolder(const std::string& command) {
    std::istringstream text(command);
    std::vector<std::string> words;
    for (std::string word; text >> word;) words.push_back(word);

    if (words.size() == 3 && words[0] == "mkdir" && words[2] == "-p") {
        if (PrivateFolder::Moves(words[1])) folder_.MakeFolder(words[1]);
    } else if (words.size() == 3 && words[0] == "rm" && words[1] == "-rf") {
        if (PrivateFolder::Moves(words[2])) folder_.Remove(words[2]);
    } else if (words.size() == 4 && words[0] == "echo" && words[2] == ">") {
        // Like the shell, echo makes the file but not the folder it stands in.
        FILE* file = PrivateFolder::Moves(words[3]) ? fopen(folder_.Inside(words[3]).c_str(), "w") : nullptr;
        if (file == nullptr) return;
        fprintf(file, "%s\n", words[1].c_str());
        fclose(file);
    }
}

}  // namespace virtual_time
