// See tlv.h. Called by the bus handlers, on threads of the bus library.
#include "support/tlv.h"

#include <cctype>
#include <cstdio>

namespace {

constexpr size_t kHeadSize = 2;  // type and length

void PrintHead(const TlvItem& item) {
    printf("Type: %d, Length: %d, Value: ", item.type, item.length);
}

void PrintHex(const ByteArray& bytes) {
    for (const uint8_t byte : bytes) printf("%x ", byte);
}

void EndLine() {
    putchar('\n');
    fflush(stdout);
}

}  // namespace

TlvItem::TlvItem(uint8_t item_type, uint8_t item_length, const void* bytes)
    : type(item_type), length(item_length) {
    const auto* first = static_cast<const uint8_t*>(bytes);
    if (first != nullptr) value.assign(first, first + item_length);
}

void AddTlvItem(TlvList& list, uint8_t type, uint8_t length, const char* bytes) {
    list.emplace_back(type, length, bytes);
}

void AddTlvItem(TlvList& list, uint8_t type, uint8_t length, const unsigned char* bytes) {
    list.emplace_back(type, length, bytes);
}

void AppendTlvList(TlvList& list, const TlvList& other) {
    const size_t count = other.size();  // taken first: the two may be one list
    list.reserve(list.size() + count);
    for (size_t i = 0; i < count; ++i) list.push_back(other[i]);
}

ByteArray EncodeTlvList(const TlvList& list) {
    size_t size = 0;
    for (const TlvItem& item : list) size += kHeadSize + item.value.size();

    ByteArray bytes;
    bytes.reserve(size);
    for (const TlvItem& item : list) {
        bytes.push_back(item.type);
        bytes.push_back(item.length);
        bytes.insert(bytes.end(), item.value.begin(), item.value.end());
    }
    return bytes;
}

TlvList ParseTlvBytes(const ByteArray& bytes) {
    TlvList list;
    const size_t size = bytes.size();
    size_t position = 0;
    while (position < size) {
        const size_t head = position;
        // A lone type byte at the end has no length to read; it counts as a value that is cut off.
        const uint8_t length = head + 1 < size ? bytes[head + 1] : 0;
        position += kHeadSize + length;
        if (position > size) {
            fputs("Warning: Data is not large enough for TLV value. Skipping.\n", stderr);
            break;
        }
        list.emplace_back(bytes[head], length, bytes.data() + head + kHeadSize);
    }
    return list;
}

void PrintTlvItem(const TlvItem& item) {
    PrintHead(item);
    for (const uint8_t byte : item.value) {
        if (isprint(byte)) {
            putchar(byte);
        } else {
            printf("\\x%02x", byte);
        }
    }
    EndLine();
}

void PrintTlvItemHex(const TlvItem& item) {
    PrintHead(item);
    PrintHex(item.value);
    EndLine();
}

void PrintTlvBytes(const ByteArray& bytes) {
    fputs("Assembled TLV Data: ", stdout);
    PrintHex(bytes);
    EndLine();
    const TlvList list = ParseTlvBytes(bytes);
    fputs("\nParsed TLVs:\n", stdout);
    for (const TlvItem& item : list) PrintTlvItem(item);
}
