#include "support/MkUtils.h"

#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>

#include <cstdarg>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/open_descriptors.h"
#include "tests/support/stdin_closed.h"

namespace {

struct FakeInterface {
    const char *name, *address, *mask;  // a null text: the system refuses
    unsigned char mac_end;              // 0: the system refuses
};

std::vector<FakeInterface> interfaces;
bool list_fails = false;
bool socket_fails = false;
size_t claimed_entries = 0;  // when not 0, more than there is room for
int addresses_asked = 0;

int AnswerList(ifconf* list) {
    if (list_fails) return -1;
    EXPECT_EQ(16u * sizeof(ifreq), static_cast<size_t>(list->ifc_len));
    const size_t room = static_cast<size_t>(list->ifc_len) / sizeof(ifreq);
    const size_t count = interfaces.size() < room ? interfaces.size() : room;
    for (size_t i = 0; i < count; ++i) strncpy(list->ifc_req[i].ifr_name, interfaces[i].name, IFNAMSIZ);
    list->ifc_len = static_cast<int>((claimed_entries != 0 ? claimed_entries : count) * sizeof(ifreq));
    return 0;
}

int AnswerAddress(ifreq* request, const char* text) {
    if (text == nullptr) return -1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    inet_pton(AF_INET, text, &address.sin_addr);
    memcpy(&request->ifr_addr, &address, sizeof(address));
    return 0;
}

}  // namespace

extern "C" int __real_socket(int domain, int type, int protocol);
extern "C" int __wrap_socket(int domain, int type, int protocol) {
    return socket_fails ? -1 : __real_socket(domain, type, protocol);
}

extern "C" int __wrap_ioctl(int, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    if (request == SIOCGIFCONF) return AnswerList(static_cast<ifconf*>(argument));
    auto* entry = static_cast<ifreq*>(argument);
    if (request == SIOCGIFADDR) ++addresses_asked;
    for (const FakeInterface& fake : interfaces) {
        if (strncmp(fake.name, entry->ifr_name, IFNAMSIZ - 1) != 0) continue;
        if (request == SIOCGIFADDR) return AnswerAddress(entry, fake.address);
        if (request == SIOCGIFNETMASK) return AnswerAddress(entry, fake.mask);
        if (request != SIOCGIFHWADDR || fake.mac_end == 0) return -1;
        const unsigned char mac[] = {0x02, 0x00, 0x5E, 0xAB, 0x0C, fake.mac_end};
        memcpy(entry->ifr_hwaddr.sa_data, mac, sizeof(mac));
        return 0;
    }
    return -1;
}

namespace {

class MkUtilsNet : public testing::Test {
  protected:
    MkUtilsNet() {
        list_fails = socket_fails = false;
        claimed_entries = 0;
        addresses_asked = 0;
        interfaces = {{"lo", "127.0.0.1", "255.0.0.0", 1},
                      {"eth0", "10.0.0.1", "255.255.255.0", 2},
                      {"wwan0", "10.0.0.2", "255.255.255.252", 3},
                      {"eth1", "10.0.0.3", "255.255.0.0", 4}};
    }
    char test_address[INET_ADDRSTRLEN] = "unset";
    char test_mask[INET_ADDRSTRLEN] = "unset";
    unsigned char test_mac[kMacSize] = {};
};

TEST_F(MkUtilsNet, AddressAndMaskOfTheInterfaceNamed) {
    EXPECT_EQ(0, GetInterfaceAddress(test_address, test_mask, "wwan0"));
    EXPECT_STREQ("10.0.0.2", test_address);
    EXPECT_STREQ("255.255.255.252", test_mask);
}

TEST_F(MkUtilsNet, LastFitOfTheWalkFromTheEndWins) {
    EXPECT_EQ(0, GetInterfaceAddress(test_address, test_mask, "eth"));
    EXPECT_STREQ("10.0.0.1", test_address);
    EXPECT_EQ(0, GetInterfaceAddress(test_address, test_mask, ""));
    EXPECT_STREQ("127.0.0.1", test_address);
}

TEST_F(MkUtilsNet, PartAnywhereInTheNameFits) {
    EXPECT_EQ(0, GetInterfaceAddress(test_address, test_mask, "an"));
    EXPECT_STREQ("10.0.0.2", test_address);
}

TEST_F(MkUtilsNet, NoFitGivesMinusOneAndLeavesTheBuffers) {
    EXPECT_EQ(-1, GetInterfaceAddress(test_address, test_mask, "usb"));
    EXPECT_STREQ("unset", test_address);
    EXPECT_STREQ("unset", test_mask);
    EXPECT_EQ(-1, GetInterfaceMac(test_mac, "usb"));
    interfaces.clear();
    EXPECT_EQ(-1, GetInterfaceAddress(test_address, test_mask, ""));
}

TEST_F(MkUtilsNet, InterfaceThatDoesNotAnswerIsPassedOver) {
    interfaces[1].mask = nullptr;  // eth0
    EXPECT_EQ(0, GetInterfaceAddress(test_address, test_mask, "eth"));
    EXPECT_STREQ("10.0.0.3", test_address);
    interfaces[3].address = nullptr;  // eth1
    EXPECT_EQ(-1, GetInterfaceAddress(test_address, test_mask, "eth"));
}

TEST_F(MkUtilsNet, ListThatCannotBeReadGivesMinusOne) {
    list_fails = true;
    EXPECT_EQ(-1, GetInterfaceAddress(test_address, test_mask, "eth"));
    EXPECT_EQ(-1, GetInterfaceMac(test_mac, "eth"));
}

TEST_F(MkUtilsNet, WithoutASocketThereIsMinusOne) {
    socket_fails = true;
    EXPECT_EQ(-1, GetInterfaceAddress(test_address, test_mask, "eth"));
    EXPECT_EQ(-1, GetInterfaceMac(test_mac, "eth"));
    EXPECT_STREQ("unset", test_address);
}

TEST_F(MkUtilsNet, SocketMayBeDescriptorZero) {
    const StdinClosed stdin_closed;
    EXPECT_EQ(0, GetInterfaceAddress(test_address, test_mask, "eth1"));
    EXPECT_STREQ("10.0.0.3", test_address);
}

TEST_F(MkUtilsNet, NoSocketIsLeftOpen) {
    const int before = OpenDescriptors();
    GetInterfaceAddress(test_address, test_mask, "eth");
    list_fails = true;
    GetInterfaceAddress(test_address, test_mask, "eth");
    EXPECT_EQ(before, OpenDescriptors());
}

TEST_F(MkUtilsNet, ListThatClaimsMoreThanItsRoomIsReadToItsEnd) {
    interfaces.assign(16, {"x", "1.1.1.1", nullptr, 9});
    claimed_entries = 17;
    EXPECT_EQ(-1, GetInterfaceAddress(test_address, test_mask, ""));
    EXPECT_EQ(16, addresses_asked);
}

TEST_F(MkUtilsNet, SixteenInterfacesAreLookedThrough) {
    interfaces.assign(20, {"x", "1.1.1.1", "255.0.0.0", 9});
    interfaces[15] = {"sixteenth", "10.0.0.16", "255.0.0.0", 9};
    interfaces[16] = {"seventeenth", "10.0.0.17", "255.0.0.0", 9};
    EXPECT_EQ(0, GetInterfaceAddress(test_address, test_mask, "sixteenth"));
    EXPECT_EQ(-1, GetInterfaceAddress(test_address, test_mask, "seventeenth"));
}

TEST_F(MkUtilsNet, NameThatFillsItsFieldIsContained) {
    interfaces = {{"wwan-cellularbox", "10.0.0.9", "255.0.0.0", 9}};
    EXPECT_EQ(0, GetInterfaceAddress(test_address, test_mask, "wwan"));
    EXPECT_EQ(-1, GetInterfaceAddress(test_address, test_mask, "box")) << "the last letter is cut off";
}

TEST_F(MkUtilsNet, MacAsBytesAndAsText) {
    EXPECT_EQ(0, GetInterfaceMac(test_mac, "eth"));
    EXPECT_EQ(2, test_mac[5]);
    char text[kMacTextSize] = "unset";
    EXPECT_EQ(0, GetInterfaceMacText(text, "eth1"));
    EXPECT_STREQ("02-00-5E-AB-0C-04", text);
}

TEST_F(MkUtilsNet, MacTextOfNoInterfaceStays) {
    char text[kMacTextSize] = "unset";
    interfaces[3].mac_end = 0;
    EXPECT_EQ(-1, GetInterfaceMacText(text, "eth1"));
    EXPECT_STREQ("unset", text);
}

}  // namespace
