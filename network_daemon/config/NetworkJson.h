// The typed model of network.json, the board's whole network set-up. Everything is text: numbers and flags
// too are held as the file wrote them. Filled once by main, and used by main alone; it keeps no link to the
// document.
//
// A record lists its keys in kFields; reading and printing follow from that list, in its order. A new key is
// one row there, and the field that it names.
#pragma once

#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "network_daemon/config/json.h"

/// One key of a JSON object, the field that takes it, and the field's name in the dump.
template <typename Record>
struct TextField {
    const char* key;
    std::string Record::*member;
    const char* label = key;
};

/// For records of text alone: no field was forgotten in the list of keys.
template <typename Record>
constexpr bool EveryFieldHasKey() {
    return sizeof(Record) == std::size(Record::kFields) * sizeof(std::string);
}

struct LteConfig {
    std::string enable, apn, username, passwd, pin;

    static constexpr char kHeading[] = "LteConfig: ";
    static constexpr TextField<LteConfig> kFields[] = {
        {"enable", &LteConfig::enable}, {"apn", &LteConfig::apn}, {"username", &LteConfig::username},
        {"passwd", &LteConfig::passwd}, {"pin", &LteConfig::pin},
    };
};
static_assert(EveryFieldHasKey<LteConfig>());

struct WirelessConfig {
    std::string enable;

    static constexpr char kHeading[] = "WirelessConfig: ";
    static constexpr TextField<WirelessConfig> kFields[] = {
        {"enable", &WirelessConfig::enable},
    };
};
static_assert(EveryFieldHasKey<WirelessConfig>());

struct FirstAPConfig {
    std::string enable, channel, channelSwitchMode, ssid, auth, secure_passwd, bootproto, ip, netmask,
        gateway;

    static constexpr char kHeading[] = "FirstAPConfig: ";
    static constexpr TextField<FirstAPConfig> kFields[] = {
        {"enable", &FirstAPConfig::enable},
        {"channel", &FirstAPConfig::channel},
        {"channelSwitchMode", &FirstAPConfig::channelSwitchMode},
        {"ssid", &FirstAPConfig::ssid},
        {"auth", &FirstAPConfig::auth},
        {"secure_passwd", &FirstAPConfig::secure_passwd},
        {"bootproto", &FirstAPConfig::bootproto},
        {"ip", &FirstAPConfig::ip},
        {"netmask", &FirstAPConfig::netmask},
        {"gateway", &FirstAPConfig::gateway},
    };
};
static_assert(EveryFieldHasKey<FirstAPConfig>());

/// What the interfaces with an address of their own have in common.
struct InterfaceConfig {
    std::string enable, bootproto, ip, netmask, gateway;

    static constexpr TextField<InterfaceConfig> kFields[] = {
        {"enable", &InterfaceConfig::enable},   {"bootproto", &InterfaceConfig::bootproto},
        {"ip", &InterfaceConfig::ip},           {"netmask", &InterfaceConfig::netmask},
        {"gateway", &InterfaceConfig::gateway},
    };
};
static_assert(EveryFieldHasKey<InterfaceConfig>());

struct EthernetConfig : InterfaceConfig {
    static constexpr char kHeading[] = "EthernetConfig: ";
};

struct WlanConfig : InterfaceConfig {
    static constexpr char kHeading[] = "WlanConfig: ";
};

struct BridgeConfig : InterfaceConfig {
    static constexpr char kHeading[] = "BridgeConfig: ";
};

struct DhcpdConfig {
    std::string enable, start, end, netmask, gateway, dns1, dns2;

    static constexpr char kHeading[] = "DhcpdConfig: ";
    static constexpr TextField<DhcpdConfig> kFields[] = {
        {"enable", &DhcpdConfig::enable},   {"start", &DhcpdConfig::start},     {"end", &DhcpdConfig::end},
        {"netmask", &DhcpdConfig::netmask}, {"gateway", &DhcpdConfig::gateway}, {"dns1", &DhcpdConfig::dns1},
        {"dns2", &DhcpdConfig::dns2},
    };
};
static_assert(EveryFieldHasKey<DhcpdConfig>());

struct DnsConfig {
    std::string enable;

    static constexpr char kHeading[] = "DnsConfig: ";
    static constexpr TextField<DnsConfig> kFields[] = {
        {"enable", &DnsConfig::enable},
    };
};
static_assert(EveryFieldHasKey<DnsConfig>());

/// Texts first, then `priority`, then the records, in the order of ForEachRecord.
struct NetworkConfig {
    std::string work_mode, CurrentMode, APswitchEnable, ApAutoCloseEnable, ApDurationTime;
    std::map<std::string, std::string> priority;  // free keys, ordered bytewise
    LteConfig lte;
    WirelessConfig wireless;
    FirstAPConfig firstap;
    EthernetConfig eth0, eth0_2;
    WlanConfig wlan0;
    BridgeConfig br0;
    DhcpdConfig dhcpd;
    DnsConfig dns;

    static constexpr char kHeading[] = "NetworkConfig: ";
    static constexpr TextField<NetworkConfig> kFields[] = {
        {"work_mode", &NetworkConfig::work_mode},
        {"CurrentMode", &NetworkConfig::CurrentMode},
        {"APswitchEnable", &NetworkConfig::APswitchEnable},
        {"ApAutoCloseEnable", &NetworkConfig::ApAutoCloseEnable},
        {"ApDurationTime", &NetworkConfig::ApDurationTime},
    };

    /// Calls `visit(key, record)` for each record of `config`, which may be const.
    template <typename Config, typename Visit>
    static void ForEachRecord(Config& config, Visit visit) {
        visit("lte", config.lte);
        visit("wireless", config.wireless);
        visit("firstap", config.firstap);
        visit("eth0", config.eth0);
        visit("eth0_2", config.eth0_2);
        visit("wlan0", config.wlan0);
        visit("br0", config.br0);
        visit("dhcpd", config.dhcpd);
        visit("dns", config.dns);
    }
};

struct WhitelistConfig {
    std::vector<std::string> allowedValues;  // never an empty text
};

struct NetworkJson {
    std::string customer_name, product_name, vendor_name, platform_name, board_name, version_;
    std::vector<std::string> module_name;  // never an empty text
    NetworkConfig network_config;
    WhitelistConfig whitelist;

    static constexpr char kHeading[] = "NetworkJson: ";
    static constexpr TextField<NetworkJson> kFields[] = {
        {"customer_name", &NetworkJson::customer_name}, {"product_name", &NetworkJson::product_name},
        {"vendor_name", &NetworkJson::vendor_name},     {"platform_name", &NetworkJson::platform_name},
        {"board_name", &NetworkJson::board_name},       {"version", &NetworkJson::version_, "version_"},
    };

    /// Fills the model: 1, or 0 with nothing touched when the document isn't an object or carries a parse
    /// error. A text or record whose key is missing or null becomes empty; one of another type stays as it
    /// was. Texts end at an escaped NUL. A member of "priority" that isn't a text aborts the process.
    int FromJson(const rapidjson::Document& document);

    /// The same from a JSON text in memory.
    int FromJsonText(const std::string& text);

    /// Prints the model, passwords included, on standard output and flushes each line.
    void Dump() const;
};
