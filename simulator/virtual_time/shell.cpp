#include "simulator/virtual_time/shell.h"

#include <cstdio>
#include <sstream>

namespace virtual_time {

void Shell::AddRule(const std::string& part, ShellAnswer answer, int times) {
    rules_.push_back({part, std::move(answer), times == 0 ? -1 : times});
}

ShellAnswer Shell::Run(const std::string& command, bool is_popen, int64_t now_us) {
    if (on_call) on_call({now_us, command, is_popen});
    const int exit_status = is_popen || ActOnFolder(command) ? 0 : 1;
    for (auto rule = rules_.rbegin(); rule != rules_.rend(); ++rule) {
        if (rule->times_left == 0 || command.find(rule->part) == std::string::npos) continue;
        if (rule->times_left > 0) --rule->times_left;
        ShellAnswer answer = rule->answer;
        answer.exit_status = exit_status;
        if (answer.complete) answer.complete(command, &answer);
        return answer;
    }
    ShellAnswer answer;
    answer.exit_status = exit_status;
    return answer;
}

bool Shell::ActOnFolder(const std::string& command) {
    std::istringstream text(command);
    std::vector<std::string> words;
    for (std::string word; text >> word;) words.push_back(word);

    if (words.size() == 3 && words[0] == "mkdir" && words[2] == "-p") return MakeFolder(words[1]);
    if (words.size() == 3 && words[0] == "rm" && words[1] == "-rf") return Remove(words[2]);
    if (words.size() == 4 && words[0] == "echo" && words[2] == ">") return Echo(words[1], words[3]);
    return true;
}

bool Shell::MakeFolder(const std::string& path) {
    if (!PrivateFolder::Moves(path)) return true;
    if (!storage_.IsReadOnly(path)) folder_.MakeFolder(path);
    return folder_.Exists(path);
}

bool Shell::Remove(const std::string& path) {
    if (!PrivateFolder::Moves(path)) return true;
    if (!storage_.IsReadOnly(path)) folder_.Remove(path);
    return !folder_.Exists(path);
}

// Like the shell, echo makes the file but not the folder it stands in.
bool Shell::Echo(const std::string& text, const std::string& path) {
    if (!PrivateFolder::Moves(path)) return true;
    FILE* file = storage_.IsReadOnly(path) ? nullptr : fopen(folder_.Inside(path).c_str(), "w");
    if (file == nullptr) return false;
    const bool has_room = storage_.Of(path) != Storage::State::kFull;
    if (has_room) fprintf(file, "%s\n", text.c_str());
    fclose(file);
    return has_room;
}

}  // namespace virtual_time
