// Asks any service on a bus the same thing again and again, as bench/peers does:
//   bus_ask ADDRESS SERVICE PATH INTERFACE.METHOD COUNT WINDOW [TEXT]
// TEXT is the one argument, if the method takes one. WINDOW questions are under way at a time. Prints the
// length of an answer in bytes; status 1 when a question is answered with an error, or not at all.
#include <cstdio>
#include <cstdlib>
#include <string>

#include <dbus/dbus.h>

namespace {

int length = 0;

int Fail(const char* why) {
    fprintf(stderr, "bus_ask: %s\n", why);
    return 1;
}

/// Takes the next answer. False: there is none, or it is an error.
bool TakeAnswer(DBusConnection* bus) {
    for (;;) {
        DBusMessage* message = dbus_connection_pop_message(bus);
        if (message == nullptr) {
            if (!dbus_connection_read_write(bus, -1)) return false;
            continue;
        }
        const int type = dbus_message_get_type(message);
        if (type == DBUS_MESSAGE_TYPE_METHOD_RETURN) {
            char* bytes = nullptr;
            if (length == 0 && dbus_message_marshal(message, &bytes, &length)) dbus_free(bytes);
        } else if (type == DBUS_MESSAGE_TYPE_ERROR) {
            fprintf(stderr, "bus_ask: %s\n", dbus_message_get_error_name(message));
        }
        dbus_message_unref(message);
        if (type == DBUS_MESSAGE_TYPE_METHOD_RETURN) return true;
        if (type == DBUS_MESSAGE_TYPE_ERROR) return false;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 7) return Fail("ADDRESS SERVICE PATH INTERFACE.METHOD COUNT WINDOW [TEXT]");
    const std::string method = argv[4];
    const size_t dot = method.rfind('.');
    const long count = atol(argv[5]);
    const long window = atol(argv[6]);
    const char* text = argc > 7 ? argv[7] : nullptr;
    DBusConnection* bus = dbus_connection_open_private(argv[1], nullptr);
    if (bus == nullptr || !dbus_bus_register(bus, nullptr)) return Fail("no bus");

    long asked = 0;
    for (long answered = 0; answered < count; ++answered) {
        for (; asked < count && asked < answered + window; ++asked) {
            DBusMessage* question = dbus_message_new_method_call(
                argv[2], argv[3], method.substr(0, dot).c_str(), method.substr(dot + 1).c_str());
            if (text != nullptr)
                dbus_message_append_args(question, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
            dbus_connection_send(bus, question, nullptr);
            dbus_message_unref(question);
        }
        if (!TakeAnswer(bus)) return Fail("no answer");
    }
    printf("%d\n", length);
    return 0;
}
