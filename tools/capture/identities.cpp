#include "tools/capture/identities.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "simulator/text/text.h"

namespace capture {

namespace {

using simulator_text::StartsWith;

constexpr size_t kShortestNumber = 14;  // digits of an IMEI without its check digit; nothing else is as long
constexpr size_t kShortestPhone = 7;
constexpr size_t kShortestHex = 16;    // eight bytes: a PDU, a number in semi-octets
constexpr size_t kShortestCell = 4;    // digits of an area or of a cell's address
constexpr size_t kShortestSecret = 6;  // a shorter text of the settings is replaced in quotes only

bool IsDigit(char c) {
    return isdigit(static_cast<unsigned char>(c)) != 0;
}

bool IsHex(char c) {
    return isxdigit(static_cast<unsigned char>(c)) != 0;
}

bool IsWordCharacter(char c) {
    return isalnum(static_cast<unsigned char>(c)) != 0;
}

bool IsAll(std::string_view text, bool (*is)(char)) {
    return !text.empty() && std::all_of(text.begin(), text.end(), is);
}

char CheckDigit(std::string_view digits) {
    int sum = 0;
    bool doubles = true;
    for (size_t i = digits.size(); i-- > 0; doubles = !doubles) {
        const int digit = digits[i] - '0';
        sum += doubles ? digit * 2 / 10 + digit * 2 % 10 : digit;
    }
    return static_cast<char>('0' + (10 - sum % 10) % 10);
}

/// Countries whose operators have numbers of three digits.
bool HasLongNetworkCode(std::string_view imsi) {
    constexpr std::string_view kCountries[] = {"302", "310", "311", "312", "313", "314", "315", "316", "334",
                                               "338", "342", "344", "346", "348", "352", "354", "356", "358",
                                               "360", "365", "366", "376", "708", "722", "732", "736", "750"};
    return std::find(std::begin(kCountries), std::end(kCountries), imsi.substr(0, 3)) != std::end(kCountries);
}

/// "+CREG: ..." and the like: what a modem says about itself, and nobody else's words.
bool IsResultLine(std::string_view line) {
    if (line.empty() || (line[0] != '+' && line[0] != '^' && line[0] != '$' && line[0] != '*')) return false;
    size_t end = 1;
    while (end < line.size() && isupper(static_cast<unsigned char>(line[end])) != 0) ++end;
    return end > 2 && end < line.size() && line[end] == ':';
}

/// The result after which a line of somebody else's text stands.
bool BringsText(std::string_view line) {
    return StartsWith(line, "+CMT:") || StartsWith(line, "+CMGR:") || StartsWith(line, "+CMGL:") ||
           StartsWith(line, "+CDS:") || StartsWith(line, "+CBM:");
}

bool IsEndOfAnswer(std::string_view line) {
    return line == "OK" || line == "ERROR" || StartsWith(line, "+CM");
}

/// Somebody's words, of which only the shape stays.
std::string Masked(std::string_view text) {
    std::string masked;
    for (const char c : text) {
        const bool is_letter =
            isalpha(static_cast<unsigned char>(c)) != 0 || (static_cast<unsigned char>(c) & 0x80) != 0;
        masked += IsDigit(c) ? '0' : is_letter ? 'x' : c;
    }
    return masked;
}

}  // namespace

bool Identities::HasCheckDigit(std::string_view digits) {
    return digits.size() > 1 && digits.back() == CheckDigit(digits.substr(0, digits.size() - 1));
}

void Identities::Learn(const Identity& identity) {
    using Kind = Identity::Kind;
    switch (identity.kind) {
        case Kind::kImsi:
            if (IsAll(identity.text, IsDigit)) named_[identity.text] = "IMSI";
            break;
        case Kind::kImei:
            if (IsAll(identity.text, IsDigit)) named_[identity.text] = "IMEI";
            break;
        case Kind::kApn:
            secrets_.emplace(identity.text, "APN");
            break;
        case Kind::kUser:
            secrets_.emplace(identity.text, "user name");
            break;
        case Kind::kPassword:
            secrets_[identity.text] = "password";
            break;
        case Kind::kPin:
            secrets_.emplace(identity.text, "PIN");
            break;
    }
}

/// The first `kept` characters stay, the others become a number of the same length.
std::string Identities::Stand(const std::string& kind, const std::string& original, size_t kept,
                              bool checked) {
    const auto found = stands_.find(kind + '\n' + original);
    if (found != stands_.end()) return found->second;
    size_t& count = counts_[kind];
    std::string stand;
    do {
        ++count;
        kept = std::min(kept, original.size());
        const size_t room = original.size() - kept - (checked ? 1 : 0);
        std::string number = std::to_string(count);
        number = number.size() < room ? std::string(room - number.size(), '0') + number
                                      : number.substr(number.size() - room);
        stand = original.substr(0, kept) + number;
        if (checked) stand += CheckDigit(stand);
    } while (stand == original && count < 2 * counts_.size() + 2);
    stands_[kind + '\n' + original] = stand;
    return stand;
}

/// Letters and digits become others, so that what the settings' readers look at (quotes, dots) stays.
std::string Identities::OfSecret(const std::string& kind, const std::string& secret) {
    const auto found = stands_.find(kind + '\n' + secret);
    if (found != stands_.end()) return found->second;
    const bool is_number = IsAll(secret, IsDigit);
    const size_t number = ++counts_[kind];
    const std::string name = (is_number ? "" : kind.substr(0, kind.find(' '))) + std::to_string(number);
    const size_t room = static_cast<size_t>(std::count_if(secret.begin(), secret.end(), IsWordCharacter));
    std::string letters = name;
    std::transform(letters.begin(), letters.end(), letters.begin(),
                   [](char c) { return static_cast<char>(tolower(c)); });
    if (letters.size() > room) letters = letters.substr(letters.size() - room);
    letters.append(room - letters.size(), is_number ? '0' : 'x');
    std::string stand;
    size_t next = 0;
    for (const char c : secret) stand += IsWordCharacter(c) ? letters[next++] : c;
    stands_[kind + '\n' + secret] = stand;
    return stand;
}

std::string Identities::OfDigits(const std::string& digits) {
    constexpr size_t kImei = 15, kIccidLeast = 18, kIccidMost = 20;
    constexpr size_t kTypeOfModem = 8, kIssuer = 6;
    const auto named = named_.find(digits);
    const bool is_checked = HasCheckDigit(digits);
    std::string kind = named != named_.end() ? named->second : "";
    if (kind.empty() && digits.size() == kImei) kind = is_checked ? "IMEI" : "IMSI";
    if (kind.empty() && digits.size() >= kIccidLeast && digits.size() <= kIccidMost &&
        StartsWith(digits, "89")) {
        kind = "ICCID";
    }
    if (kind == "IMSI") return Stand(kind, digits, HasLongNetworkCode(digits) ? 6 : 5, false);
    if (kind == "IMEI") return Stand(kind, digits, kTypeOfModem, is_checked && digits.size() == kImei);
    if (kind == "ICCID") return Stand(kind, digits, kIssuer, is_checked);
    return Stand("number", digits, 0, false);
}

std::string Identities::OfHex(const std::string& digits) {
    return Stand("text in hex", digits, 0, false);
}

/// Long numbers, hexadecimal texts and phone numbers, wherever they stand.
std::string Identities::OfNumbers(std::string_view text) {
    std::string result;
    size_t at = 0;
    while (at < text.size()) {
        if (!IsHex(text[at])) {
            result += text[at++];
            continue;
        }
        size_t end = at;
        while (end < text.size() && IsHex(text[end])) ++end;
        size_t digits_end = at;
        while (digits_end < text.size() && IsDigit(text[digits_end])) ++digits_end;
        const bool is_phone =
            digits_end - at >= kShortestPhone && at > 0 &&
            (text[at - 1] == '+' || (text[at - 1] == '"' && text.substr(digits_end, 1) == "\""));
        // An identity may stand right after letters that are hexadecimal digits, too.
        if (end - at >= kShortestHex && !IsAll(text.substr(at, end - at), IsDigit)) {
            result += OfHex(std::string(text.substr(at, end - at)));
            at = end;
        } else if (digits_end - at >= kShortestNumber) {
            result += OfDigits(std::string(text.substr(at, digits_end - at)));
            at = digits_end;
        } else if (is_phone) {
            result += Stand("phone number", std::string(text.substr(at, digits_end - at)), 0, false);
            at = digits_end;
        } else if (digits_end > at) {
            result += text.substr(at, digits_end - at);
            at = digits_end;
        } else {
            result += text[at++];
        }
    }
    return result;
}

/// Addresses of IP in both forms, also with 16 numbers, as some modems write those of version 6.
std::string Identities::OfAddresses(std::string_view text) {
    constexpr std::string_view kEverybodys[] = {"0.0.0.0", "8.8.8.8", "8.8.4.4", "127.0.0.1",
                                                "255.255.255.255"};
    const auto belongs = [](char c) { return IsHex(c) || c == '.' || c == ':'; };
    std::string result;
    size_t at = 0;
    while (at < text.size()) {
        const bool is_inside = at > 0 && (IsWordCharacter(text[at - 1]) || text[at - 1] == '.');
        if (is_inside || (!IsHex(text[at]) && text[at] != ':')) {
            result += text[at++];
            continue;
        }
        size_t end = at;
        while (end < text.size() && belongs(text[end])) ++end;
        const auto ends_on = [&](std::string_view last) {
            return end - at >= last.size() && text.substr(end - last.size(), last.size()) == last;
        };
        while (ends_on(".") || (ends_on(":") && !ends_on("::"))) --end;
        const std::string word(text.substr(at, end - at));
        const auto dots = std::count(word.begin(), word.end(), '.');
        const auto colons = std::count(word.begin(), word.end(), ':');
        const bool is_four =
            dots == 3 && colons == 0 && word.find_first_not_of("0123456789.") == std::string::npos;
        const bool is_sixteen = dots == 15 && colons == 0;
        const bool is_colons =
            dots == 0 && (colons >= 5 || (colons >= 2 && word.find("::") != std::string::npos));
        const bool is_mask =
            StartsWith(word, "255.") ||
            std::find(std::begin(kEverybodys), std::end(kEverybodys), word) != std::end(kEverybodys);
        if (end == at || end - at < 3) {
            result += text[at++];
            continue;
        }
        if ((is_four && !is_mask) || is_sixteen || is_colons) {
            const std::string key = "address\n" + word;
            auto found = stands_.find(key);
            if (found == stands_.end()) {
                const size_t number = ++counts_["address"];
                char stand[64];
                const unsigned high = static_cast<unsigned>(number / 254 % 256),
                               low = static_cast<unsigned>(number % 254 + 1);
                if (is_four) {
                    snprintf(stand, sizeof stand, "198.18.%u.%u", high, low);
                } else if (is_sixteen) {
                    snprintf(stand, sizeof stand, "32.1.13.184.0.0.0.0.0.0.0.0.0.0.%u.%u", high, low);
                } else {
                    snprintf(stand, sizeof stand, "2001:db8::%x", static_cast<unsigned>(number & 0xFFFF));
                }
                found = stands_.emplace(key, stand).first;
            }
            result += found->second;
        } else {
            result += word;
        }
        at = end;
    }
    return result;
}

/// Area and address of a cell: after country and network, in reports of the registration in quotes, and
/// where a family has a place of its own for them.
std::string Identities::OfCells(const std::string& line) {
    if (!IsResultLine(line) && !IsDigit(line[0])) return line;
    const bool is_registration =
        StartsWith(line, "+CREG:") || StartsWith(line, "+CGREG:") || StartsWith(line, "+CEREG:");
    const bool is_serving = StartsWith(line, "+QENG: \"servingcell\"");
    const bool is_zte = StartsWith(line, "+ZCELLINFO:");
    constexpr size_t kAreaOfServing = 12;
    const size_t colon = IsDigit(line[0]) ? 0 : line.find(':') + 1;
    std::vector<std::string> fields(1);
    for (const char c : line.substr(colon)) {
        if (c == ',') {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    const auto hide = [&](std::string& field) {
        size_t begin = field.find_first_not_of(" \"");
        if (begin == std::string::npos) return;
        if (field.compare(begin, 2, "0x") == 0) begin += 2;
        size_t end = begin;
        while (end < field.size() && IsHex(field[end])) ++end;
        if (end - begin < kShortestCell) return;
        field = field.substr(0, begin) + Stand("cell", field.substr(begin, end - begin), 0, false) +
                field.substr(end);
    };
    const auto is_number = [](const std::string& field, size_t least, size_t most) {
        return field.size() >= least && field.size() <= most && IsAll(field, IsDigit);
    };
    for (size_t i = 0; i < fields.size(); ++i) {
        if (is_registration && fields[i].find('"') != std::string::npos) hide(fields[i]);
        const bool is_pair = i >= 1 && is_number(fields[i - 1], 3, 3) && is_number(fields[i], 2, 3);
        const bool is_joined = fields[i].size() >= 6 && fields[i].size() <= 7 && fields[i][3] == '-' &&
                               is_number(fields[i].substr(0, 3), 3, 3);
        if (!is_pair && !is_joined) continue;
        for (size_t next = i + 1; next < fields.size() && next <= i + 2; ++next) hide(fields[next]);
    }
    if (is_serving && fields.size() > kAreaOfServing) hide(fields[kAreaOfServing]);
    if (is_zte) hide(fields[0]);
    std::string result = line.substr(0, colon);
    for (size_t i = 0; i < fields.size(); ++i) result += (i > 0 ? "," : "") + fields[i];
    return result;
}

/// Texts of the settings: in quotes, and long ones anywhere.
std::string Identities::OfQuoted(std::string text) {
    // Longer ones first: one may be a part of another.
    std::vector<std::string> secrets;
    for (const auto& [secret, kind] : secrets_) secrets.push_back(secret);
    std::sort(secrets.begin(), secrets.end(),
              [](const auto& a, const auto& b) { return a.size() > b.size(); });
    for (const std::string& secret : secrets) {
        const std::string stand = OfSecret(secrets_[secret], secret);
        const std::string quoted = '"' + secret + '"';
        const bool anywhere = secret.size() >= kShortestSecret;
        const std::string& wanted = anywhere ? secret : quoted;
        const std::string instead = anywhere ? stand : '"' + stand + '"';
        for (size_t at = text.find(wanted); at != std::string::npos;
             at = text.find(wanted, at + instead.size())) {
            text.replace(at, wanted.size(), instead);
        }
    }
    return text;
}

std::string Identities::OfLine(std::string_view line) {
    std::string result(line);
    const bool shows_settings =
        result.find("CGDCONT") != std::string::npos || result.find("QICSGP") != std::string::npos ||
        result.find("AUTH") != std::string::npos || result.find("QCRMCALL") != std::string::npos ||
        result.find("CGCONTRDP") != std::string::npos;
    for (const auto& [secret, kind] : secrets_) {
        if (shows_settings || secret.size() > kShortestSecret) {
            result = OfQuoted(result);
            break;
        }
    }
    if (StartsWith(result, "+CUSD:")) return Masked(result);
    if (!result.empty()) result = OfCells(result);
    return OfNumbers(OfAddresses(result));
}

std::string Identities::OfText(std::string_view text) {
    if (keeps_) return std::string(text);
    std::string result;
    bool is_somebodys = false;
    while (!text.empty()) {
        const size_t end = std::min(text.find_first_of("\r\n"), text.size());
        const std::string_view line = text.substr(0, end);
        if (IsResultLine(line) || IsEndOfAnswer(line)) is_somebodys = false;
        result += is_somebodys ? Masked(line) : OfLine(line);
        if (BringsText(line)) is_somebodys = true;
        if (end < text.size()) result += text[end];
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result;
}

std::string Identities::OfCommand(std::string_view command) {
    if (keeps_) return std::string(command);
    return OfNumbers(OfAddresses(OfQuoted(std::string(command))));
}

std::string Identities::OfSettings(std::string_view text) {
    if (keeps_) return std::string(text);
    std::string result;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        const size_t equals = line.find('=');
        const std::string key(line.substr(0, equals));
        std::string value(equals == std::string_view::npos ? "" : line.substr(equals + 1));
        std::string rest;
        while (!value.empty() && (value.back() == '\r' || value.back() == ' ')) {
            rest.insert(rest.begin(), value.back());
            value.pop_back();
        }
        const auto secret = secrets_.find(value);
        const bool is_secret = key == "APN" || key == "USERNAME" || key == "PASSWORD" || key == "CARD_PIN";
        if (is_secret && secret != secrets_.end()) value = OfSecret(secret->second, value);
        result += key + "=" + value + rest + "\n";
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result;
}

}  // namespace capture
