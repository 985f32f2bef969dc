// What modem text is recognised by, and what becomes of it: the table of response prefixes of all families,
// the hint codes that number its rows, and the record that a parse yields. The contract between parser,
// drivers and readers of a record.
#pragma once

#include <cstdint>

namespace cc_cell {

/// What a text of the modem was recognised as: the row of AtPrefixTable whose prefix it holds, and the values
/// after that prefix. The forms share the same storage: a reader that doesn't test `type` first sees
/// whatever form was filled. Cleared to zero before every parse; returned and passed by value.
struct AtResult {
    int32_t type;  // a hint code, see AtHint; 0 means that nothing was recognised
    union {
        char common_str[128];  // text form, at most 127 characters
        struct {
            int32_t val;  // number forms
            int32_t val2;
            union {
                struct {
                    int32_t val3;
                    int32_t val4;
                    int32_t val5;
                    int32_t val6;
                };
                struct {
                    char carrier[64];  // operator form, at most 63 characters, quotes included
                    int32_t act;
                    int32_t extra;
                };
            };
        };
    };
};

/// Hint codes: rows of AtPrefixTable. Rows of placeholders have no name.
enum AtHint : int32_t {
    kHintUnknown = 0,
    kHintCsq = 1,
    kHintPsrat = 2,
    kHintSimtest = 3,
    kHintIccid = 4,
    kHintCreg = 5,
    kHintCgreg = 6,
    kHintCereg = 7,
    kHintCops = 8,
    kHintClcc = 9,
    kHintPktstatus = 10,
    kHintDsci = 11,
    kHintNwtypeind = 12,
    kHintCgsn = 13,
    kHintDataStatus = 16,
    kHintDataConnect = 17,
    kHintDataDisconn = 18,
    kHintRrcstate = 21,
    kHintSysinfo = 22,
    kHintNdisstatqry = 25,
    kHintHcsq = 26,
    kHintZgeticcid = 29,
    kHintZpas = 30,
    kHintZecmcall = 31,
    kHintZcellinfo = 32,
    kHintQnwinfo = 35,
    kHintQcrmcall = 36,
    kHintQnetdevstatus = 37,
    kHintQccid = 38,
    kHintQnetdevctl = 39,
    kHintQtemp = 40,
    kHintQeng = 41,
    kHintSimcomQcrmcall = 44,
    kHintSimcomCpsi = 45,
    kHintSimcomIccid = 46,
    kHintSwwanEcho = 49,
    kHintCinterionCcid = 50,
    kHintSctm = 51,
    kHintSmoni = 52,
    kHintFibocomCcid = 55,
    kHintMgauth = 56,
    kHintFibocomGtrndis = 57,
    kHintLynqIccid = 60,
    kHintLynqCpsi = 61,
    kHintNetopen = 62,
    kHintNetclose = 63,
    kHintFibocomLeCcid = 66,
    kHintFibocomLeGtrndis = 67,
    kHintGtccinfo = 68,
    kHintCesq = 69,
};

constexpr int kAtPrefixRows = 71;

/// Response prefixes of all families, indexed by hint code. Found by substring search anywhere in a text, so
/// that the blank at the end of some rows is significant. "ReSeRvEd" rows only keep the numbering; no modem
/// sends them. Numbers are parts of the contract between parser, drivers and readers of a record: never
/// renumber.
constexpr char AtPrefixTable[kAtPrefixRows][64] = {
    /*  0 */ "Unknow..",
    /*  1 */ "+CSQ:",
    /*  2 */ "+PSRAT: ",
    /*  3 */ "+SIMTEST:",
    /*  4 */ "^ICCID: ",
    /*  5 */ "+CREG:",
    /*  6 */ "+CGREG:",
    /*  7 */ "+CEREG:",
    /*  8 */ "+COPS:",
    /*  9 */ "+CLCC:",
    /* 10 */ "+PKTSTATUS:",
    /* 11 */ "^DSCI:",
    /* 12 */ "+NWTYPEIND:",
    /* 13 */ "+CGSN: ",
    /* 14 */ "ReSeRvEd:",
    /* 15 */ "ReSeRvEd:",  // LongSung, NodeCom from here
    /* 16 */ "+DATASTATUS:",
    /* 17 */ "^DATACONNECT",
    /* 18 */ "^DATADISCONN",
    /* 19 */ "ReSeRvEd",
    /* 20 */ "ReSeRvEd:",  // ChuangYi
    /* 21 */ "+RRCSTATE:",
    /* 22 */ "+SYSINFO:",
    /* 23 */ "ReSeRvEd",
    /* 24 */ "ReSeRvEd:",  // Huawei
    /* 25 */ "^NDISSTATQRY:",
    /* 26 */ "^HCSQ: ",
    /* 27 */ "ReSeRvEd",
    /* 28 */ "ReSeRvEd:",  // ZTE/Gosuncn
    /* 29 */ "+ZGETICCID: ",
    /* 30 */ "+ZPAS: ",
    /* 31 */ "+ZECMCALL: ",
    /* 32 */ "+ZCELLINFO: ",
    /* 33 */ "ReSeRvEd",
    /* 34 */ "ReSeRvEd:",  // Quectel: Qualcomm, ASR, Unisoc
    /* 35 */ "+QNWINFO: ",
    /* 36 */ "$QCRMCALL: ",
    /* 37 */ "+QNETDEVSTATUS:",
    /* 38 */ "+QCCID: ",
    /* 39 */ "+QNETDEVCTL:",
    /* 40 */ "+QTEMP:",
    /* 41 */ "+QENG: ",
    /* 42 */ "ReSeRvEd",
    /* 43 */ "ReSeRvEd:",  // SIMCom
    /* 44 */ "$QCRMCALL: ",
    /* 45 */ "+CPSI: ",
    /* 46 */ "+ICCID: ",
    /* 47 */ "ReSeRvEd",
    /* 48 */ "ReSeRvEd:",  // Cinterion
    /* 49 */ "^SWWAN?",
    /* 50 */ "+CCID: ",
    /* 51 */ "^SCTM:",
    /* 52 */ "^SMONI: ",
    /* 53 */ "ReSeRvEd",
    /* 54 */ "ReSeRvEd:",  // Fibocom
    /* 55 */ "+CCID: ",
    /* 56 */ "+MGAUTH: ",
    /* 57 */ "+GTRNDIS: ",
    /* 58 */ "ReSeRvEd",
    /* 59 */ "ReSeRvEd:",  // LYNQ
    /* 60 */ "+ICCID:",
    /* 61 */ "+CPSI:",
    /* 62 */ "+NETOPEN:",
    /* 63 */ "+NETCLOSE:",
    /* 64 */ "ReSeRvEd",
    /* 65 */ "ReSeRvEd:",  // Fibocom LE
    /* 66 */ "+CCID: ",
    /* 67 */ "+GTRNDIS: ",
    /* 68 */ "+GTCCINFO:",
    /* 69 */ "+CESQ: ",
    /* 70 */ "ReSeRvEd",
};

}  // namespace cc_cell
