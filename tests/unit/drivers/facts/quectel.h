// What the three Quectel families have alike; two of them call by AT+QNETDEVCTL.
#pragma once

#include <string>
#include <vector>

#include "tests/support/driver_facts.h"

namespace cc_cell {

constexpr char kQuectelNoContext[] = "AT+QICSGP=1,1,\"\",\"\",\"\",0\r\n";
constexpr char kQuectelContext[] = "AT+QICSGP=1,1,\"cmnet\",\"me\",\"secret\",2\r\n";
inline const Texts kQuectelContextLines = {std::string("7 ") + kQuectelNoContext, "5 AT+QICSGP=1,1 done\n"};

/// The set-up with the context a second after the rest.
inline std::vector<Step> QuectelSteps(const char* network_device) {
    return {{network_device}, {"AT+CMEE=2", 1 + 1}, {kQuectelContext}, {"ATI"}};
}

/// The dial by `call`, with the context in front.
inline std::vector<DialCase> AfterQuectelContext(const std::string& call) {
    const std::string longest = "AT+QICSGP=1,1," + kLongestQuoted + "-2147483648\r\n";
    return {{kNone, {kQuectelNoContext, call}}, {kAll, {kQuectelContext, call}}, {kLongest, {longest, call}}};
}

inline const SimFacts kQuectelSim = {.question = "AT+QCCID", .prefix = "+QCCID: "};

inline const SignalFacts kQuectelSignal = {.network_questions = {"AT+QNWINFO"},
                                           .network_answer = Answer("+QNWINFO: \"FDD LTE\",\"46001\""),
                                           .network = "\"FDD LTE\""};

inline const Texts kQuectelServingCell = {"AT+QENG=\"servingcell\"\r\n"};
inline const Texts kQuectelNeighbourCell = {"AT+QENG=\"neighbourcell\"\r\n"};

inline ServingCellFacts QuectelServingCell(const char* head_end) {
    return {.read = [](CellBase& cell) { cell.CheckSignalStatus(); },
            .operation = "CheckSignalStatus",
            .questions = kQuectelServingCell,
            .seconds = 1,
            .prefix = "+QENG: ",
            .list =
                "\"servingcell\",\"NOCONN\",\"LTE\",\"FDD\",460,01,9A6A10C,{pcid},1650,{band},5,5,25F0,"
                "{rsrp},-11,-68,{sinr},27",
            .level = CellLevel::kRsrpOfList,
            .shown_limit = 15,
            .head = "AT+QENG common str:",
            .head_end = head_end,
            .name = "QENG info",
            .other_radio = "3 AT+QENG signal return not LTE!!! \n"};
}

inline const RowFacts kQuectelCall =
    Numbers(36, "$QCRMCALL: ", ",\n\r", "1, V4", {kVal}, {"5 AT$QCRMCALL=1,1 return {rest}\n"});
inline const RowFacts kQnwinfo =
    NetworkType(35, "+QNWINFO: ", ",\n\r", "\"FDD LTE\",\"46000\",\"LTE BAND 3\",1650\r\n");
inline const RowFacts kQccid = Text(38, "+QCCID: ", "\n\r", "8986\r\n", {"5 ICCID:{}\n"});
inline const RowFacts kQeng = Text(41, "+QENG: ", "\n\r", "\"servingcell\",\"NOCONN\"\r\n", {});

// Modules that call by AT+QNETDEVCTL

inline std::vector<RowFacts> NetDevCtlRows(const RowFacts& call) {
    return {Placeholder(34),
            kQnwinfo,
            call,
            Logged(37, "+QNETDEVSTATUS:", " 1,2,0,1"),
            kQccid,
            Numbers(39, "+QNETDEVCTL:", ",\r", " 1,2,3,4", {kVal, kVal4, kVal3, kVal2},
                    {"7 QNETDEVSTATUS: connect_type={},CID={},URC_switch={},PDN_status={}\n"}),
            Logged(40, "+QTEMP:", " 40,41,42"),
            kQeng};
}

inline const LinkFacts kNetDevCtlLink = {.questions = {"AT+QNETDEVCTL?\r\n"},
                                         .up = "+QNETDEVCTL: 1,1,1,1",
                                         .cases = {{Answer("+QNETDEVCTL: 1,1,1,1"), 1},
                                                   {Answer("+QNETDEVCTL: 0,0,0,1"), 1},
                                                   {Answer("+QNETDEVCTL: 1,1,1,0"), 0},
                                                   {Answer("+QNETDEVCTL: 1,1,1,2"), 0, 2},
                                                   {Answer("+QNETDEVCTL: 1,1,1"), 0},
                                                   {Answer("+QNETDEVCTL: 1,1,1,"), 0},
                                                   {Answer("$QNETDEVCTL: 1,1,1,1"), 0},
                                                   {Answer("+QNETDEVSTATUS: 1,2,0,1"), 0}},
                                         .failure = "AT+QNETDEVCTL fail:"};

}  // namespace cc_cell
