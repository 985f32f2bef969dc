// Type-length-value items: the payload of the status answer and of the upgrade request on the bus. The codec
// knows nothing of what the types mean. A list belongs to the thread that made it.
//
// Bytes of an item: type (1), length (1), value. Items stand back to back, without count, padding, checksum.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

using ByteArray = std::vector<uint8_t>;

struct TlvItem {
    /// Copies `item_length` bytes. With null bytes the value stays empty, whatever length is declared.
    TlvItem(uint8_t item_type, uint8_t item_length, const void* bytes);

    uint8_t type;
    uint8_t length;  // as declared, which is what goes on the wire; `value` may hold less
    ByteArray value;
};

/// In the order of the wire. Types may repeat: readers take items by position.
using TlvList = std::vector<TlvItem>;

/// Appends an item with a copy of `length` bytes.
void AddTlvItem(TlvList& list, uint8_t type, uint8_t length, const char* bytes);
void AddTlvItem(TlvList& list, uint8_t type, uint8_t length, const unsigned char* bytes);

/// Appends copies of all items of `other`, which may be `list` itself.
void AppendTlvList(TlvList& list, const TlvList& other);

ByteArray EncodeTlvList(const TlvList& list);

/// The items that are complete; a cut one ends the list with a warning on standard error.
TlvList ParseTlvBytes(const ByteArray& bytes);

/// One line on standard output; bytes that can't be printed as "\x0a".
void PrintTlvItem(const TlvItem& item);

/// The same with every byte in hexadecimal.
void PrintTlvItemHex(const TlvItem& item);

/// Prints the bytes, parses them (warnings included) and prints the items.
void PrintTlvBytes(const ByteArray& bytes);
