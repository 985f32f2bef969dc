// Interface of the board's message bus library, libbusglue.so, as the daemon uses it. On a board the closed
// library takes the place of ours: the calls and record layouts below are its binary interface and must not
// change.
//
// Names: "OCPP.Message" is something that the owner "OCPP" takes. Ours spells it on D-Bus as method Message
// of interface busglue.OCPP, at path /busglue/OCPP of the bus name busglue.OCPP, with the frame as its one
// argument of type ay and the answer as its one result; "ravelin.reset" as signal reset of interface
// busglue.ravelin. docs/bus.md has the rest.
//
// Threads: handlers and reply functions are called on threads of the library, several at a time at worst.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/// Answers the caller of a method; `length` may be 0. `context` is what the handler was given.
typedef void (*busglue_reply)(int length, unsigned char* bytes, void* context);

/// Takes one message of "ravelin.reset": nobody waits for an answer.
typedef int (*busglue_signal_handler)(int length, unsigned char* bytes);

/// Takes one message of "RAVELIN.Message": the whole frame in one piece, valid until the handler returns.
typedef int (*busglue_method_handler)(int length, unsigned char* bytes, void* context, busglue_reply reply);

/// Takes the peer's reply to a sent record.
typedef int (*busglue_send_reply)(int length, unsigned char* bytes);

struct busglue_signal_row {
    const char* name;  // a table ends with a row of two zero words
    busglue_signal_handler handler;
};

struct busglue_method_row {
    const char* name;
    busglue_method_handler handler;
};

struct busglue_descriptor {
    const struct busglue_signal_row* signals;
    const struct busglue_method_row* methods;
};

struct busglue_send_record {
    int length;
    unsigned char* frame;
    char* destination;
    int fourth;  // belongs to the library; the daemon always passes 700
};

/// Joins the bus under `name` and serves the two tables, which must live as long as the process. Negative:
/// failed.
int dbs_connect_init(const char* name, const struct busglue_descriptor* descriptor);

/// Sends a record. It is copied before the call returns; `reply` gets the peer's answer, or is never called
/// when none comes. Negative: not sent.
int dbs_send_method_async(struct busglue_send_record* record, busglue_send_reply reply);

/// Forwards one line of the log, without line end.
void log_send(const char* text);

#ifdef __cplusplus
}
#endif
