#include "tools/capture/identities.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "simulator/text/text.h"

namespace {

using capture::Identities;
using capture::Identity;

/// Each pair of digits turned round, as a SIM and a PDU store them.
std::string SemiOctets(std::string digits) {
    if (digits.size() % 2 != 0) digits += 'F';
    for (size_t i = 0; i + 1 < digits.size(); i += 2) std::swap(digits[i], digits[i + 1]);
    return digits;
}

TEST(Identities, KeepShapeAndCheckDigit) {
    Identities identities(false);
    identities.Learn({Identity::Kind::kImsi, "460001112223334"});
    const std::string imei = identities.OfText("490154203237518");
    EXPECT_EQ(imei.substr(0, 8), "49015420");
    EXPECT_NE(imei, "490154203237518");
    EXPECT_TRUE(Identities::HasCheckDigit(imei)) << imei;
    const std::string imsi = identities.OfText("460001112223334");
    EXPECT_EQ(imsi.substr(0, 5), "46000");
    EXPECT_EQ(imsi.size(), 15u);
    EXPECT_NE(imsi, "460001112223334");
    const std::string iccid = identities.OfText("+QCCID: 89860012317001122334");
    EXPECT_EQ(iccid.substr(0, 14), "+QCCID: 898600");
    EXPECT_EQ(iccid.size(), 28u);
    EXPECT_EQ(identities.OfText("IMEI: 490154203237518\r\n"), "IMEI: " + imei + "\r\n");
}

// Whatever form it has, no identity of the log is in what comes out.
TEST(Identities, AreGoneInEveryForm) {
    const std::vector<std::string> all = {
        "460001112223334",   "867698041122330", "89860012317001122334", "491701234567", "10.64.12.7",
        "2a01:598:a0b1::17", "B3F2A10",         "secret.apn.example",   "hans.meier",   "geheim99"};
    Identities identities(false);
    identities.Learn({Identity::Kind::kImsi, all[0]});
    identities.Learn({Identity::Kind::kApn, all[7]});
    identities.Learn({Identity::Kind::kUser, all[8]});
    identities.Learn({Identity::Kind::kPassword, all[9]});
    std::string log;
    for (size_t i = 0; i < 3; ++i) {
        log += "\r\n" + all[i] + "\r\n+X: " + SemiOctets(all[i]) + "\r\n\"" + all[i] + "\"\r\n";
        log += simulator_text::ToHex(all[i]) + "\r\n";
    }
    log += "+CNUM: \"\",\"+491701234567\",145\r\n+CLIP: \"491701234567\",129\r\n";
    log += "0791" + SemiOctets("491701234567") + "04AB\r\n";
    log += "+CGPADDR: 1,10.64.12.7,2a01:598:a0b1::17\r\nudhcpc wwan0 bound 10.64.12.7\n";
    log +=
        "+CEREG: 2,1,\"5A1C\",\"B3F2A10\",7\r\n+CPSI: LTE,Online,460-00,0x5A1C,B3F2A10,211,EUTRAN-BAND3\r\n";
    log +=
        "+QENG: "
        "\"servingcell\",\"NOCONN\",\"LTE\",\"FDD\",460,00,B3F2A10,211,1650,3,5,5,5A1C,-95,-11,-67,14,27\r\n";
    log +=
        "+CGDCONT: "
        "1,\"IP\",\"secret.apn.example\"\r\nAT+QICSGP=1,1,\"secret.apn.example\",\"hans.meier\",\"geheim99\","
        "1\r\n";
    log += "+CMT: \"+491701234567\",,\"x\"\r\nCall Hans on 491701234567\r\nOK\r\n";
    const std::string hidden = identities.OfText(log);
    for (const std::string& identity : all) {
        EXPECT_EQ(hidden.find(identity), std::string::npos) << identity << " in " << hidden;
        EXPECT_EQ(hidden.find(SemiOctets(identity)), std::string::npos) << identity;
        EXPECT_EQ(hidden.find(simulator_text::ToHex(identity)), std::string::npos) << identity;
    }
    EXPECT_EQ(hidden.find("Hans"), std::string::npos);
    EXPECT_EQ(hidden.find("5A1C"), std::string::npos);
    EXPECT_NE(hidden.find("460,00,"), std::string::npos);
    EXPECT_NE(hidden.find(",211,1650,3,5,5,"), std::string::npos);
}

TEST(Identities, TheSameStaysTheSame) {
    Identities identities(false);
    const std::string first = identities.OfText("\"10.1.2.3\" 10.1.2.4 10.1.2.3 8.8.8.8");
    EXPECT_EQ(first, "\"198.18.0.2\" 198.18.0.3 198.18.0.2 8.8.8.8");
    EXPECT_EQ(identities.OfText("10.1.2.4"), "198.18.0.3");
}

TEST(Identities, SettingsKeepTheirQuotes) {
    Identities identities(false);
    identities.Learn({Identity::Kind::kApn, "'internet'"});
    const std::string text = identities.OfSettings("ENABLE=true\nAPN='internet'\r\n");
    EXPECT_EQ(text, "ENABLE=true\nAPN='apn1xxxx'\r\n");
}

TEST(Identities, WhatIsNoIdentityStays) {
    Identities identities(false);
    identities.Learn({Identity::Kind::kApn, "LTE"});
    const std::string text =
        "\r\n+CSQ: 23,99\r\n+QTEMP: 38\r\nRevision: EG25GGBR07A08M2G\r\n+QNWINFO: \"FDD "
        "LTE\",\"46000\",\"LTE BAND 3\",1650\r\n"
        "+COPS: 0,0,\"CHINA MOBILE\",7\r\n::\r\n:\r\n1.\r\nOK\r\n";
    EXPECT_EQ(identities.OfText(text), text);
    Identities keeper(true);
    EXPECT_EQ(keeper.OfText("867698041122330"), "867698041122330");
}

}  // namespace
