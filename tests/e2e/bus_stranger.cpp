// Sends one kind of message over a bus as no well-behaved client would: to any name, with parts left away, of
// any size, often, with a descriptor. Knows D-Bus and nothing of the library. Prints what came of it.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <dbus/dbus.h>

namespace {

constexpr char kUsage[] =
    "usage: bus_stranger ADDRESS call|signal DESTINATION PATH INTERFACE MEMBER BYTES [COUNT [descriptor]]\n"
    "  \"-\" leaves the DESTINATION or INTERFACE away; BYTES is a frame in hex digits, or size=N for N "
    "zeros.\n"
    "  With \"descriptor\" each message brings an open file.\n"
    "status: 0 sent (a call: answered with the bytes that are printed), 1 refused, 2 not tried\n";
constexpr int kReplyWait_ms = 20000;

int Refused(DBusError* error) {
    printf("refused: %s\n", error->name);
    dbus_error_free(error);
    return 1;
}

std::vector<unsigned char> BytesOf(const char* text) {
    if (strncmp(text, "size=", 5) == 0) return std::vector<unsigned char>(strtoul(text + 5, nullptr, 10));
    std::vector<unsigned char> bytes;
    unsigned byte = 0;
    for (; sscanf(text, "%2x", &byte) == 1; text += 2) bytes.push_back(static_cast<unsigned char>(byte));
    return bytes;
}

DBusMessage* NewMessage(char** words, bool is_call) {
    const auto given = [](const char* word) { return strcmp(word, "-") == 0 ? nullptr : word; };
    DBusMessage* message =
        is_call ? dbus_message_new_method_call(given(words[0]), words[1], given(words[2]), words[3])
                : dbus_message_new_signal(words[1], words[2], words[3]);
    if (!is_call) dbus_message_set_destination(message, given(words[0]));
    return message;
}

/// The bus answers this once it has handled all that was sent before.
bool WaitForTheBus(DBusConnection* bus, DBusError* error) {
    DBusMessage* question =
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "GetId");
    DBusMessage* answer = dbus_connection_send_with_reply_and_block(bus, question, kReplyWait_ms, error);
    dbus_message_unref(question);
    if (answer != nullptr) dbus_message_unref(answer);
    return answer != nullptr;
}

/// The bus informs the sender of a signal with a destination that it was refused; one without is just not
/// delivered.
bool ErrorCame(DBusConnection* bus, DBusError* error) {
    for (DBusMessage* message; (message = dbus_connection_pop_message(bus)) != nullptr;) {
        if (!dbus_error_is_set(error)) dbus_set_error_from_message(error, message);
        dbus_message_unref(message);
    }
    return dbus_error_is_set(error);
}

int Call(DBusConnection* bus, DBusMessage* message) {
    DBusError error = DBUS_ERROR_INIT;
    DBusMessage* answer = dbus_connection_send_with_reply_and_block(bus, message, kReplyWait_ms, &error);
    if (answer == nullptr) return Refused(&error);
    const unsigned char* bytes = nullptr;
    int length = 0;
    dbus_message_get_args(answer, nullptr, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &bytes, &length,
                          DBUS_TYPE_INVALID);
    printf("answered, %d bytes: ", length);
    for (int i = 0; i < length; ++i) printf("%02X", bytes[i]);
    printf("\n");
    dbus_message_unref(answer);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 8 || argc > 10 || (strcmp(argv[2], "call") != 0 && strcmp(argv[2], "signal") != 0)) {
        fputs(kUsage, stderr);
        return 2;
    }
    const bool is_call = strcmp(argv[2], "call") == 0;
    const std::vector<unsigned char> bytes = BytesOf(argv[7]);
    const long count = argc > 8 ? strtol(argv[8], nullptr, 10) : 1;
    const int descriptor = STDIN_FILENO;
    DBusError error = DBUS_ERROR_INIT;
    DBusConnection* bus = dbus_connection_open_private(argv[1], &error);
    if (bus == nullptr || !dbus_bus_register(bus, &error)) {
        fprintf(stderr, "bus_stranger: %s\n", error.message);
        return 2;
    }
    dbus_connection_set_exit_on_disconnect(bus, FALSE);
    int result = 0;
    for (long i = 0; i < count && result == 0; ++i) {
        DBusMessage* message = NewMessage(argv + 3, is_call);
        const unsigned char* data = bytes.data();
        dbus_message_append_args(message, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE, &data,
                                 static_cast<int>(bytes.size()), DBUS_TYPE_INVALID);
        if (argc == 10) dbus_message_append_args(message, DBUS_TYPE_UNIX_FD, &descriptor, DBUS_TYPE_INVALID);
        if (is_call) {
            result = Call(bus, message);
        } else {
            dbus_connection_send(bus, message, nullptr);
            dbus_connection_flush(bus);
        }
        dbus_message_unref(message);
    }
    if (!is_call) {
        result = !WaitForTheBus(bus, &error) || ErrorCame(bus, &error) ? Refused(&error) : 0;
        if (result == 0) printf("sent\n");
    }
    dbus_connection_close(bus);
    dbus_connection_unref(bus);
    return result;
}
