#include "support/dbus_util.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>

#include <gtest/gtest.h>

#include "tests/support/captured_log.h"

// Counts what the heap is asked for, to show that a frame costs nothing there. In the place of the C
// library's own, so that operator new is counted too.
namespace {
int heap_requests = 0;
}
#if !defined(RAVELIN_SANITIZED)
extern "C" void* __libc_malloc(size_t size);
extern "C" void* malloc(size_t size) {
    ++heap_requests;
    return __libc_malloc(size);
}
constexpr bool kHeapIsCounted = true;
#else
constexpr bool kHeapIsCounted = false;
#endif

namespace {

using Bytes = std::vector<unsigned char>;

/// Memory whose last byte is followed by a page that nobody may touch.
class GuardedBytes {
  public:
    explicit GuardedBytes(size_t size) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t pages = (size + page - 1) / page;
        mapped_size_ = (pages + 1) * page;
        void* mapped =
            mmap(nullptr, mapped_size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) abort();
        start_ = static_cast<unsigned char*>(mapped);
        if (mprotect(start_ + pages * page, page, PROT_NONE) != 0) abort();
        data_ = start_ + pages * page - size;
    }
    explicit GuardedBytes(const Bytes& bytes) : GuardedBytes(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), data_);
    }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;
    ~GuardedBytes() { munmap(start_, mapped_size_); }
    unsigned char* data() { return data_; }

  private:
    unsigned char* start_;
    unsigned char* data_;
    size_t mapped_size_;
};

class DbusUtil : public testing::Test {
  protected:
    DbusUtil() { logged.clear(); }

    static Bytes Encode(int msg_id, int cmd, const Bytes& data, int buffer_size) {
        GuardedBytes buffer(static_cast<size_t>(buffer_size));
        GuardedBytes source(data);
        const int length = EncodeDbusMsg(buffer.data(), buffer_size, msg_id, cmd, source.data(),
                                         static_cast<int>(data.size()));
        return Bytes(buffer.data(), buffer.data() + length);
    }
    static Bytes Encode(int msg_id, int cmd, const Bytes& data) {
        return Encode(msg_id, cmd, data, static_cast<int>(data.size()) + kBusFrameOverhead);
    }
    int Decode(const Bytes& bytes) {
        GuardedBytes source(bytes);
        memset(&test_frame, 0xAA, sizeof(test_frame));
        return DecodeDbusMsg(source.data(), static_cast<int>(bytes.size()), &test_frame);
    }
    bool FrameIsAllZero() {
        const auto* bytes = reinterpret_cast<const unsigned char*>(&test_frame);
        return std::all_of(bytes, bytes + sizeof(test_frame), [](unsigned char byte) { return byte == 0; });
    }

    BusFrame test_frame;
};

/// Bit by bit, as the polynomial is defined: shares nothing with the table.
uint16_t CrcByDefinition(const unsigned char* bytes, size_t count) {
    unsigned crc = 0xFFFF;
    for (size_t i = 0; i < count; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xA001 : crc >> 1;
    }
    return static_cast<uint16_t>(crc);
}

TEST_F(DbusUtil, OneZeroByteMakesTheTwelveKnownBytes) {
    EXPECT_EQ((Bytes{0xFF, 0x6A, 0xA6, 0x00, 0x01, 0x00, 0x05, 0x76, 0x01, 0x00, 0x57, 0xFA}),
              Encode(1, 0x7601, {0x00}));
}

struct KnownFrame {
    const char* name;
    int msg_id, cmd;
    Bytes data, frame;
};

class KnownFrames : public DbusUtil, public testing::WithParamInterface<KnownFrame> {};

TEST_P(KnownFrames, EncodesAndDecodes) {
    const KnownFrame& known = GetParam();
    EXPECT_EQ(known.frame, Encode(known.msg_id, known.cmd, known.data, 1024));
    ASSERT_EQ(static_cast<int>(known.data.size()), Decode(known.frame));
    EXPECT_EQ(known.msg_id, test_frame.msg_id);
    EXPECT_EQ(known.cmd, test_frame.cmd);
    EXPECT_EQ(known.data.size(), test_frame.length);
    EXPECT_EQ(known.data, Bytes(test_frame.data, test_frame.data + test_frame.length));
}

INSTANTIATE_TEST_SUITE_P(
    All, KnownFrames,
    testing::Values(
        KnownFrame{
            "StatusQuery", 7, 0x7603, {}, {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x04, 0x76, 0x03, 0x7B, 0x92}},
        KnownFrame{"UpgradeRequest",
                   7,
                   0x7600,
                   {0x01, 0x01, 0x01, 0x41, 0x02, 0x01, 0x42, 0x03, 0x01, 0x43},
                   {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x0E, 0x76, 0x00, 0x01, 0x01,
                    0x01, 0x41, 0x02, 0x01, 0x42, 0x03, 0x01, 0x43, 0xAD, 0xF2}},
        KnownFrame{"UpgradeAccepted",
                   7,
                   0x7600,
                   {0x01},
                   {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x05, 0x76, 0x00, 0x01, 0x61, 0x3A}},
        KnownFrame{"UpgradeAlreadyRunning",
                   7,
                   0x7600,
                   {0x02},
                   {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x05, 0x76, 0x00, 0x02, 0x60, 0x7A}},
        KnownFrame{"NoDriver",
                   7,
                   0x7600,
                   {0x03},
                   {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x05, 0x76, 0x00, 0x03, 0xA0, 0xBB}},
        KnownFrame{"BadRequest",
                   7,
                   0x7600,
                   {0x00},
                   {0xFF, 0x6A, 0xA6, 0x00, 0x07, 0x00, 0x05, 0x76, 0x00, 0x00, 0xA1, 0xFB}},
        KnownFrame{"ModuleRefused",
                   1,
                   0x7602,
                   {0x01},
                   {0xFF, 0x6A, 0xA6, 0x00, 0x01, 0x00, 0x05, 0x76, 0x02, 0x01, 0x67, 0x3B}}),
    [](const auto& test) { return test.param.name; });

TEST_F(DbusUtil, FrameWithoutDataIsElevenBytesAndDecodesToZero) {
    const Bytes frame = Encode(0x1234, 0x7603, {});
    ASSERT_EQ(11u, frame.size());
    EXPECT_EQ(0, frame[5]);
    EXPECT_EQ(4, frame[6]);
    EXPECT_EQ(0, Decode(frame));
    EXPECT_EQ(0x1234, test_frame.msg_id);
    EXPECT_EQ(0x7603, test_frame.cmd);
    EXPECT_EQ(0, test_frame.length);
}

TEST_F(DbusUtil, TenBytesAreShortHoweverGoodTheyLook) {
    Bytes frame = Encode(7, 0x7603, {});
    frame.pop_back();
    EXPECT_EQ(kBusFrameShort, Decode(frame));
    EXPECT_TRUE(FrameIsAllZero());
}

TEST_F(DbusUtil, CountsBelowElevenAreShortNegativeOnesIncluded) {
    for (const int count : {INT_MIN, -65536, -11, -1, 0, 1, 10}) {
        EXPECT_EQ(kBusFrameShort, DecodeDbusMsg(nullptr, count, &test_frame)) << count;
        EXPECT_TRUE(FrameIsAllZero());
    }
}

TEST_F(DbusUtil, LargestFrameIsAccepted) {
    Bytes data(kBusDataLimit, 0x5A);
    data.back() = 0xA5;
    const Bytes frame = Encode(1, 2, data);
    ASSERT_EQ(30731u, frame.size());
    EXPECT_EQ(0x78, frame[5]);
    EXPECT_EQ(0x04, frame[6]);
    EXPECT_EQ(30720, Decode(frame));
    EXPECT_EQ(0, memcmp(data.data(), test_frame.data, data.size()));
}

TEST_F(DbusUtil, FrameOf30732BytesHasAWrongLength) {
    const Bytes frame = Encode(1, 2, Bytes(kBusDataLimit + 1, 0x5A));
    ASSERT_EQ(30732u, frame.size());
    EXPECT_EQ(kBusFrameLength, Decode(frame));
    EXPECT_TRUE(FrameIsAllZero());
}

TEST_F(DbusUtil, LengthOffByOneInEitherDirectionIsFoundBeforeTheCrc) {
    for (const int off : {-1, 1}) {
        Bytes frame = Encode(7, 0x7601, {1, 2, 3});
        frame[6] = static_cast<unsigned char>(frame[6] + off);
        EXPECT_EQ(kBusFrameLength, Decode(frame)) << off;  // its CRC is wrong by now too
        EXPECT_TRUE(FrameIsAllZero());
    }
    Bytes longer = Encode(7, 0x7601, {1, 2, 3});
    longer.push_back(0);
    EXPECT_EQ(kBusFrameLength, Decode(longer));
}

TEST_F(DbusUtil, EveryFlippedBitIsFound) {
    const Bytes good = Encode(7, 0x7601, {1, 2, 3});
    for (size_t bit = 0; bit < good.size() * 8; ++bit) {
        Bytes frame = good;
        frame[bit / 8] = static_cast<unsigned char>(frame[bit / 8] ^ (1 << bit % 8));
        const size_t at = bit / 8;
        const int expected = at < 3 ? kBusFrameMagic : at == 5 || at == 6 ? kBusFrameLength : kBusFrameCrc;
        EXPECT_EQ(expected, Decode(frame)) << "bit " << bit;
        EXPECT_TRUE(FrameIsAllZero());
    }
}

TEST_F(DbusUtil, MagicIsTestedBeforeTheLength) {
    EXPECT_EQ(kBusFrameMagic, Decode(Bytes(11, 0)));
    EXPECT_EQ(kBusFrameMagic, Decode(Bytes(40000, 0)));
}

TEST_F(DbusUtil, CrcIsTheHighByteFirst) {
    Bytes frame = Encode(7, 0x7603, {});
    std::swap(frame[9], frame[10]);
    EXPECT_EQ(kBusFrameCrc, Decode(frame));
}

TEST_F(DbusUtil, DecoderClearsWhatIsBehindTheData) {
    ASSERT_EQ(1, Decode(Encode(7, 0x7601, {0x55})));
    EXPECT_EQ(0x55, test_frame.data[0]);
    for (const uint8_t byte : test_frame.magic) EXPECT_EQ(0, byte);
    EXPECT_TRUE(
        std::all_of(test_frame.data + 1, test_frame.data + kBusDataLimit, [](uint8_t b) { return b == 0; }));
}

TEST_F(DbusUtil, DecoderLogsNothing) {
    const Bytes frame = Encode(7, 0x7601, {0x55});
    logged.clear();
    Decode(frame);
    Decode({});
    EXPECT_TRUE(logged.empty());
}

TEST_F(DbusUtil, Data1013BytesFit1024ExactlyAnd1014DoNot) {
    EXPECT_EQ(1024u, Encode(1, 2, Bytes(1013, 1), 1024).size());
    EXPECT_TRUE(LoggedTexts(0).empty());
    EXPECT_TRUE(Encode(1, 2, Bytes(1014, 1), 1024).empty());
    EXPECT_EQ(std::vector<std::string>{"Buff size is small. buff size = 1014\n"}, LoggedTexts(0));
}

TEST_F(DbusUtil, NumberOfBytesUnderTheCrcIsHeldIn16Bits) {
    // 6 bytes of head come on top of the data: 65530 make 65536, of which 16 bits leave none.
    const Bytes none = Encode(1, 2, Bytes(65530, 0x11));
    ASSERT_EQ(65541u, none.size());
    EXPECT_EQ(0xFFFF, none[65539] << 8 | none[65540]);

    const Bytes all = Encode(1, 2, Bytes(65529, 0x11));
    EXPECT_EQ(CrcByDefinition(all.data() + 3, 65535), all[65538] << 8 | all[65539]);

    const Bytes wrapped = Encode(1, 2, Bytes(65540, 0x11));  // 65546 leave 10
    EXPECT_EQ(CrcByDefinition(wrapped.data() + 3, 10), wrapped[65549] << 8 | wrapped[65550]);
    EXPECT_EQ(8, wrapped[5] << 8 | wrapped[6]);  // the length field wraps too
}

TEST_F(DbusUtil, LowSixteenBitsOfIdAndCommandCount) {
    EXPECT_EQ(Encode(0x0001, 0x7601, {9}), Encode(0x10001, -65536 + 0x7601, {9}));
    EXPECT_EQ(0xFFFF, (Decode(Encode(-1, 0, {})), test_frame.msg_id));
}

struct BadLengths {
    int buffer_size, data_length;
};

TEST_F(DbusUtil, NoLengthMakesTheEncoderLeaveItsBuffers) {
    const BadLengths bad_lengths[] = {{1024, -1}, {1024, -10},  {1024, -11},        {1024, INT_MIN},
                                      {-1, 0},    {INT_MIN, 0}, {INT_MIN, INT_MIN}, {0, 0},
                                      {10, 0},    {INT_MAX, -1}};
    for (const BadLengths& bad : bad_lengths) {
        logged.clear();
        GuardedBytes buffer(Bytes(1024, 0x77));
        const unsigned char data[1] = {0};
        EXPECT_EQ(0, EncodeDbusMsg(buffer.data(), bad.buffer_size, 1, 2, data, bad.data_length))
            << bad.buffer_size << " " << bad.data_length;
        EXPECT_TRUE(std::all_of(buffer.data(), buffer.data() + 1024, [](int byte) { return byte == 0x77; }));
        EXPECT_EQ(std::vector<std::string>{"Buff size is small. buff size = " +
                                           std::to_string(bad.data_length) + "\n"},
                  LoggedTexts(0));
    }
}

TEST_F(DbusUtil, HugeDataLengthDoesNotOverflowTheComparison) {
    log_is_kept = false;  // as in service: a dump at level 7 isn't taken, and nobody reads the data
    unsigned char buffer[64];
    const unsigned char data[1] = {0};
    for (const int data_length : {INT_MAX, INT_MAX - 10, INT_MAX - 11}) {
        EXPECT_EQ(0, EncodeDbusMsg(buffer, sizeof(buffer), 1, 2, data, data_length));
        EXPECT_EQ(0, EncodeDbusMsg(buffer, INT_MIN, 1, 2, data, data_length));
    }
    log_is_kept = true;
}

TEST_F(DbusUtil, MissingDataIsRefused) {
    unsigned char buffer[64];
    EXPECT_EQ(0, EncodeDbusMsg(buffer, sizeof(buffer), 1, 2, nullptr, 5));
    EXPECT_EQ(11, EncodeDbusMsg(buffer, sizeof(buffer), 1, 2, nullptr, 0));
}

TEST_F(DbusUtil, EncoderTellsDataAndFrameAtLevel7) {
    Encode(7, 0x7600, {0x01, 0xAB}, 1024);
    ASSERT_EQ(4u, logged.size());
    EXPECT_EQ("Encode dbus msg. msg_id=0007 cmd=7600 dat_length 2\n pdat = ", logged[0].text);
    EXPECT_EQ("01 ab ", logged[1].text);
    EXPECT_EQ("Encoded msg. length 13\n pdat = ", logged[2].text);
    EXPECT_EQ("ff 6a a6 00 07 00 06 76 00 01 ab ", logged[3].text.substr(0, 33));
    EXPECT_EQ(13u * 3, logged[3].text.size());
    for (const LoggedCall& call : logged) EXPECT_EQ(7u, call.level);
    for (const int line : {0, 2}) {
        EXPECT_EQ("support/dbus_util.cpp", logged[static_cast<size_t>(line)].file);
        EXPECT_EQ("EncodeDbusMsg", logged[static_cast<size_t>(line)].function);
        EXPECT_NE(0, logged[static_cast<size_t>(line)].line);
    }
    for (const int dump : {1, 3}) {
        EXPECT_EQ("", logged[static_cast<size_t>(dump)].file);
        EXPECT_EQ("", logged[static_cast<size_t>(dump)].function);
        EXPECT_EQ(0, logged[static_cast<size_t>(dump)].line);
    }
}

TEST_F(DbusUtil, RefusedFrameIsToldBehindItsData) {
    Encode(7, 0x7600, Bytes(2, 9), 12);
    ASSERT_EQ(3u, logged.size());
    EXPECT_EQ("09 09 ", logged[1].text);
    EXPECT_EQ("Buff size is small. buff size = 2\n", logged[2].text);
    EXPECT_EQ("EncodeDbusMsg", logged[2].function);
}

TEST_F(DbusUtil, TablesAreTheTwoHalvesOfThePolynomial) {
    EXPECT_EQ(0x00, CRCH[0]);
    EXPECT_EQ(0xC1, CRCH[1]);
    EXPECT_EQ(0x81, CRCH[2]);
    EXPECT_EQ(0x40, CRCH[3]);
    EXPECT_EQ(0x00, CRCL[0]);
    EXPECT_EQ(0xC0, CRCL[1]);
    EXPECT_EQ(0xC1, CRCL[2]);
    EXPECT_EQ(0x01, CRCL[3]);
    static_assert(sizeof(CRCH) == 256 && sizeof(CRCL) == 256);
    for (unsigned i = 0; i < 256; ++i) {
        unsigned entry = i;
        for (int bit = 0; bit < 8; ++bit) entry = (entry & 1) != 0 ? (entry >> 1) ^ 0xA001 : entry >> 1;
        EXPECT_EQ(entry & 0xFF, CRCH[i]);
        EXPECT_EQ(entry >> 8, CRCL[i]);
    }
}

TEST_F(DbusUtil, CheckValueOfTheCrc) {
    // No frame's checked bytes are exactly this text: the tables are run by hand.
    const char text[] = "123456789";
    uint8_t low = 0xFF, high = 0xFF;
    for (const char* c = text; *c != '\0'; ++c) {
        const uint8_t i = low ^ static_cast<uint8_t>(*c);
        low = CRCH[i] ^ high;
        high = CRCL[i];
    }
    EXPECT_EQ(0x4B37, high << 8 | low);
    EXPECT_EQ(0x4B37, CrcByDefinition(reinterpret_cast<const unsigned char*>(text), 9));
}

TEST_F(DbusUtil, CrcOfRandomFramesAgreesWithItsDefinition) {
    std::mt19937 random(4711);
    for (int size = 0; size < 600; size += 7) {
        Bytes data(static_cast<size_t>(size));
        for (unsigned char& byte : data) byte = static_cast<unsigned char>(random());
        const Bytes frame = Encode(static_cast<int>(random()), static_cast<int>(random()), data);
        const uint16_t crc = CrcByDefinition(frame.data() + 3, frame.size() - 5);
        EXPECT_EQ(crc, frame[frame.size() - 2] << 8 | frame[frame.size() - 1]);
        ASSERT_EQ(size, Decode(frame));
        EXPECT_EQ(data, Bytes(test_frame.data, test_frame.data + size));
    }
}

TEST_F(DbusUtil, NoiseOfEveryLengthIsRefused) {
    std::mt19937 random(1);
    Bytes noise(30740);
    for (unsigned char& byte : noise) byte = static_cast<unsigned char>(random());
    GuardedBytes source(noise);
    const unsigned char* end = source.data() + noise.size();
    for (int size = 0; size <= 30740; size += size < 64 ? 1 : 61) {
        unsigned char* bytes = const_cast<unsigned char*>(end - size);
        // Half of them with a head that gets past the first tests.
        if (size >= 7 && size % 2 == 1) {
            const unsigned char head[] = {0xFF,
                                          0x6A,
                                          0xA6,
                                          0,
                                          1,
                                          static_cast<unsigned char>((size - 7) >> 8),
                                          static_cast<unsigned char>(size - 7)};
            memcpy(bytes, head, sizeof(head));
        }
        EXPECT_GT(0, DecodeDbusMsg(bytes, size, &test_frame)) << size;
        EXPECT_TRUE(FrameIsAllZero());
    }
}

TEST_F(DbusUtil, FramesTakeNothingFromTheHeap) {
    if (!kHeapIsCounted) GTEST_SKIP() << "the sanitizer owns the heap";
    const Bytes data(1000, 3);
    unsigned char buffer[1024];
    ASSERT_GT(heap_requests, 0);
    log_is_kept = false;
    const int before = heap_requests;
    const int length = EncodeDbusMsg(buffer, sizeof(buffer), 7, 0x7601, data.data(), 1000);
    const int decoded = DecodeDbusMsg(buffer, length, &test_frame);
    const int after = heap_requests;
    log_is_kept = true;
    EXPECT_EQ(before, after);
    EXPECT_EQ(1000, decoded);
}

}  // namespace
