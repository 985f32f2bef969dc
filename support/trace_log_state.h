// Settings of the trace log, for its implementation and for whoever looks at a running daemon. Written by
// trace_init alone, before the first other thread starts; read by every log call of every thread.
#pragma once

#include <cstdint>
#include <cstdio>

struct TraceName {
    char* name;  // owned by the node; nodes live until the process ends
    TraceName* next;
};

extern int32_t trace_level;             // threshold of the local sink; a negative one shows every level
extern TraceName* trace_file_list;      // source files whose lines are always shown, latest first
extern TraceName* trace_function_list;  // functions whose lines are always shown, latest first
extern FILE* trace_stream;              // the log file; null means standard output
