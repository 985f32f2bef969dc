// The settings of the link and network.json, as the daemon's own readers take them.
#include <sys/stat.h>

#include <cctype>
#include <cstring>
#include <map>

#include "support/text_util.h"
#include "tools/doctor/daemon_reader.h"
#include "tools/doctor/examination.h"
#include "tools/doctor/lines.h"
#include "tools/doctor/network_json.h"

namespace doctor {

namespace {

constexpr size_t kSettingsLimit_bytes = 64 * 1024;
constexpr size_t kPieceSize = 1023;
constexpr size_t kLongestText = 256;
constexpr size_t kShownText = 40;

enum class ValueKind { kEnable, kCommandText, kSwitch, kAuthType, kSeconds, kOther };

/// A key of the settings that somebody reads.
struct KnownKey {
    const char* key;
    ValueKind kind;
    size_t longest;  // characters of its value that the daemon keeps; 0: all
};

constexpr KnownKey kKnownKeys[] = {
    {"ENABLE", ValueKind::kEnable, 9},
    {"APN", ValueKind::kCommandText, 63},
    {"USERNAME", ValueKind::kCommandText, 63},
    {"PASSWORD", ValueKind::kCommandText, 63},
    {"CARD_PIN", ValueKind::kCommandText, 63},
    {"AUTH_TYPE", ValueKind::kAuthType, 0},
    {"AUTOCONNECT", ValueKind::kSwitch, 0},
    {"DoubleSIM", ValueKind::kSwitch, 0},
    {"ORLA", ValueKind::kSwitch, 0},
    {"OFFLINE", ValueKind::kSeconds, 0},
    {"BRACKEN_PROJECT", ValueKind::kSwitch, 0},
    {"CollectSignalFlag", ValueKind::kSwitch, 0},
    {"INTERFACE", ValueKind::kOther, 0},
};

bool IsSameKey(const std::string& one, const std::string& other) {
    return strcasecmp(one.c_str(), other.c_str()) == 0;
}

const KnownKey* FindKey(const std::string& key) {
    for (const KnownKey& known : kKnownKeys) {
        if (IsSameKey(known.key, key)) return &known;
    }
    return nullptr;
}

bool IsNumber(const std::string& text) {
    const std::string digits = Trimmed(text);
    return !digits.empty() && digits.find_first_not_of("0123456789") == std::string::npos;
}

bool HasControlByte(const std::string& text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) return true;
    }
    return false;
}

/// A value for the report. Secrets aren't shown.
std::string ShownValue(const std::string& key, const std::string& value) {
    if (IsSameKey(key, "PASSWORD") || IsSameKey(key, "CARD_PIN")) return "(not shown)";
    return "\"" + (value.size() > kShownText ? value.substr(0, kShownText) + "..." : value) + "\"";
}

/// One line of the file, and where it stands.
struct Line {
    std::string text;  // with its line end, if it has one
    std::string place;
};

std::vector<Line> LinesOf(const std::string& bytes, const std::string& path) {
    std::vector<Line> lines;
    for (size_t at = 0; at < bytes.size();) {
        const size_t end = std::min(bytes.find('\n', at), bytes.size() - 1) + 1;
        lines.push_back({bytes.substr(at, end - at), path + ", line " + std::to_string(lines.size() + 1)});
        at = end;
    }
    return lines;
}

/// Why a line that looks like a setting gives none; empty for a comment, a blank line and the like.
std::string WhyDropped(const std::string& line) {
    const std::string text = Trimmed(line);
    if (text.empty() || text[0] == '#' || text[0] == ';' || text[0] == '[') return "";
    const char first = line[0];
    if (first == '\0') return "a zero byte stands in front, and ends it";
    if (isupper(static_cast<unsigned char>(first)) == 0) {
        return isspace(static_cast<unsigned char>(first)) != 0 ? "it begins with a blank"
                                                               : "it doesn't begin with a capital letter";
    }
    const size_t equals = line.find('=');
    const size_t zero = line.find('\0');
    if (zero != std::string::npos && (equals == std::string::npos || zero < equals)) {
        return "a zero byte ends it before an equals sign";
    }
    if (equals == std::string::npos) return "it has no equals sign";
    return "nothing stands after the equals sign, not even a line end";
}

class SettingsCheck {
  public:
    SettingsCheck(Examination& examination, std::string path, const std::string& bytes)
        : examination_(examination), path_(std::move(path)), bytes_(bytes) {}

    void Run() {
        const SettingsReading reading = ReadSettings(bytes_);
        if (!reading.is_possible) {
            examination_.Unseen("what the daemon makes of " + path_ + ": there is no memory for a copy");
            return;
        }
        for (const Line& line : LinesOf(bytes_, path_)) CheckLine(line);
        if (reading.is_refused && !complained_of_line_) {
            examination_.Found("settings-refused", path_ + " has no line that counts");
        }
        if (has_cr_) examination_.Found("settings-line-ends", path_ + " has lines that end with CR LF");
        if (!reading.is_refused) {
            for (const auto& [key, value] : reading.entries) CheckValue(key, value);
            examination_.Fact(path_ + " gives the daemon " + std::to_string(reading.entries.size()) +
                              (reading.entries.size() == 1 ? " setting" : " settings"));
        }
    }

  private:
    void CheckLine(const Line& line) {
        if (line.text.size() >= 2 && line.text.compare(line.text.size() - 2, 2, "\r\n") == 0) has_cr_ = true;
        const LineReading reading = ReadSettingsLine(line.text);
        if (line.text.size() > kPieceSize) {
            examination_.Found("settings-dropped",
                               line.place + " is longer than " + std::to_string(kPieceSize) +
                                   " characters, and is read in pieces, each as a line of its own");
        }
        switch (reading.fate) {
            case LineReading::Fate::kRefusesFile:
                complained_of_line_ = true;
                examination_.Found("settings-refused", line.place + ": a key or value of over " +
                                                           std::to_string(kLongestText) + " characters");
                return;
            case LineReading::Fate::kDropped: {
                const std::string why = WhyDropped(line.text);
                if (why.empty()) return;
                const std::string key = Trimmed(line.text.substr(0, line.text.find('=')));
                examination_.Found("settings-dropped",
                                   line.place + " (" + key.substr(0, kShownText) + ") is skipped: " + why);
                return;
            }
            case LineReading::Fate::kTaken:
                for (const auto& [key, value] : reading.entries) CheckTaken(line, key, value);
        }
    }

    void CheckTaken(const Line& line, const std::string& key, const std::string& value) {
        for (const auto& [former, place] : taken_) {
            if (!IsSameKey(former, key)) continue;
            examination_.Found("settings-twice",
                               line.place + ": " + key + " stands in " + place + " already, which counts");
            return;
        }
        taken_.emplace_back(key, line.place);
        if (line.text.size() > kPieceSize) return;
        const std::string written = Trimmed(line.text.substr(line.text.find('=') + 1));
        const size_t zero = written.find('\0');
        if (zero != std::string::npos) {
            examination_.Found("settings-control", line.place + ": a zero byte ends the value of " + key);
        } else if (written != value) {
            examination_.Found("settings-cut", line.place + ": the daemon takes " + ShownValue(key, value) +
                                                   " for " + key + ", up to the second equals sign");
        }
    }

    void CheckValue(const std::string& key, const std::string& value) {
        const KnownKey* known = FindKey(key);
        if (known == nullptr) {
            examination_.Found("settings-unknown", path_ + ": nobody here knows the key " + key);
            return;
        }
        if (known->longest > 0 && value.size() > known->longest) {
            examination_.Found("settings-cut",
                               path_ + ": the value of " + key + " has " + std::to_string(value.size()) +
                                   " characters, and the daemon keeps " + std::to_string(known->longest));
        }
        if (HasControlByte(value)) {
            examination_.Found("settings-control", path_ + ": control characters in the value of " + key +
                                                       ", " + ShownValue(key, value));
        }
        if (Contains(value, " #") || Contains(value, "\t#")) {
            examination_.Found("settings-comment",
                               path_ + ": the value of " + key + " is " + ShownValue(key, value));
            return;
        }
        switch (known->kind) {
            case ValueKind::kEnable:
                CheckEnable(value);
                break;
            case ValueKind::kCommandText:
                CheckCommandText(key, value);
                break;
            case ValueKind::kSwitch:
                if (!IsNumber(value)) {
                    Odd(key, value, ParseNumber(value.c_str()) >= 1 ? "that is on" : "that is off");
                }
                break;
            case ValueKind::kAuthType:
                if (!IsNumber(value) || ParseNumber(value.c_str()) > 3) {
                    Odd(key, value,
                        "the modem gets " + std::to_string(ParseNumber(value.c_str())) +
                            ", and 0 to 3 have a meaning");
                }
                break;
            case ValueKind::kSeconds:
                if (!IsNumber(value)) {
                    Odd(key, value,
                        "that counts as " + std::to_string(ParseNumber(value.c_str())) + " seconds");
                }
                break;
            case ValueKind::kOther:
                break;
        }
    }

    void CheckEnable(const std::string& value) {
        if (value == "false") {
            examination_.Found("settings-off", path_ + " says ENABLE=false");
        } else if (value != "true" && !value.empty()) {
            Odd("ENABLE", value, "the link stays on: only the exact text false takes it down");
        }
    }

    void CheckCommandText(const std::string& key, const std::string& value) {
        const bool is_apn = IsSameKey(key, "APN");
        std::string text = value;
        if (is_apn && text.size() >= 2 && text.front() == '\'' && text.back() == '\'') {
            text = text.substr(1, text.size() - 2);  // its own quotes
        }
        if (text.find_first_of("\"'") == std::string::npos) return;
        examination_.Found("settings-quote",
                           path_ + ": a quote in the value of " + key + ", " + ShownValue(key, value));
    }

    void Odd(const std::string& key, const std::string& value, const std::string& effect) {
        examination_.Found("settings-odd",
                           path_ + ": " + key + " is " + ShownValue(key, value) + "; " + effect);
    }

    Examination& examination_;
    const std::string path_;
    const std::string& bytes_;
    std::vector<std::pair<std::string, std::string>> taken_;  // keys, and where they stand
    bool has_cr_ = false;
    bool complained_of_line_ = false;
};

bool HoldsSecret(const std::string& bytes) {
    const SettingsReading reading = ReadSettings(bytes);
    for (const char* key : {"PASSWORD", "CARD_PIN"}) {
        if (!reading.Find(key).value_or("").empty()) return true;
    }
    return false;
}

/// A folder that only root and a group can enter keeps users from what is in it.
bool OthersReach(const Board& board, const std::string& path) {
    return (board.Look(path).mode & S_IROTH) != 0 &&
           (board.Look(path.substr(0, path.rfind('/'))).mode & S_IXOTH) != 0;
}

/// The text of a file of settings that is there; nothing when it can't be had, which has been said then.
std::optional<std::string> SettingsText(Examination& examination, const std::string& path) {
    const Board& board = examination.board();
    const FileFacts file = board.Look(path);
    if (!file.is_file()) {
        examination.Found("settings-no-file", path + " is no plain file");
        return std::nullopt;
    }
    examination.CheckSettingsRights(path);
    const FileText text = board.Read(path, kSettingsLimit_bytes);
    if (!text.read) {
        examination.Unseen("what is in " + path + ": " + ReasonOf(text.error));
        return std::nullopt;
    }
    if (!text.is_whole) {
        examination.Found("settings-too-large", path + " has more than " +
                                                    std::to_string(kSettingsLimit_bytes / 1024) +
                                                    " KB; only its beginning has been looked at");
    }
    if (OthersReach(board, path) && HoldsSecret(text.bytes)) {
        examination.Found("settings-secret", path + " holds a password or a PIN, and everybody can read it");
    }
    return text.bytes;
}

/// There, or not to be seen from here.
bool IsThere(Examination& examination, const std::string& path) {
    const FileFacts file = examination.board().Look(path);
    if (!file.exists && file.error != 0) {
        examination.Unseen(path + ": " + ReasonOf(file.error));
        return true;
    }
    return file.exists || examination.board().Look(path, Board::Link::kItself).exists;
}

bool CanBeSeen(const Examination& examination, const std::string& path) {
    return examination.board().Look(path).error == 0;
}

void CheckLinkSettings(Examination& examination) {
    const bool in_use = IsThere(examination, kSettingsPath);
    const bool lasting = IsThere(examination, kLastingSettingsPath);
    if (!in_use && !lasting) {
        examination.Found("settings-missing", std::string("neither ") + kSettingsPath + " nor " +
                                                  kLastingSettingsPath + " is there");
        return;
    }
    const char* const path = in_use ? kSettingsPath : kLastingSettingsPath;
    if (!CanBeSeen(examination, path)) return;
    if (!in_use) {
        examination.Fact(std::string(kSettingsPath) + " isn't there: a start of the service makes it");
    }
    const std::optional<std::string> text = SettingsText(examination, path);
    if (!text) return;
    if (in_use && examination.board().Space(path).read_only) {
        examination.Found("settings-read-only", std::string(path) + " lies where nothing can be written");
    }
    SettingsCheck(examination, path, *text).Run();
    if (!in_use || !lasting || !CanBeSeen(examination, kLastingSettingsPath)) return;
    const std::optional<std::string> lasting_text = SettingsText(examination, kLastingSettingsPath);
    if (lasting_text && ReadSettings(*lasting_text).entries != ReadSettings(*text).entries) {
        examination.Found("settings-differ", std::string(kSettingsPath) + " and " + kLastingSettingsPath +
                                                 " give different settings");
    }
}

}  // namespace

void CheckSettings(Examination& examination) {
    CheckLinkSettings(examination);
    CheckNetworkJson(examination);
}

}  // namespace doctor
