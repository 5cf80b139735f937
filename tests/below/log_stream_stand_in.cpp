// Defines the log stream's members in the place of the library's: records each call.

#include "support/log_stream.h"

#include "support/text_format.h"
#include "tests/below/recorder.h"

#ifdef __clang__
#pragma clang diagnostic ignored "-Wunused-private-field"
#endif

using below::Recording;
using below::Word;

LogStream::LogStream(const char* name, bool append, bool create, int maxFileSize, int filesKept,
                     unsigned int bufferSize, bool syncAtFlush)
    : m_file(-1), m_maxFileSize(0), m_bufferSize(0), m_syncAtFlush(false) {
    Recording().Record(std::string("LogStream(") + name + "," + Word(append) + "," + Word(create) +
                       "," + std::to_string(maxFileSize) + "," + std::to_string(filesKept) + "," +
                       std::to_string(bufferSize) + "," + Word(syncAtFlush) + ")");
}

LogStream::~LogStream() { Recording().Note("~LogStream"); }

void LogStream::TRACE(unsigned char level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = support::FormatText(format, arguments);
    va_end(arguments);
    Recording().Record("log(" + std::to_string(level) + "," + below::Masked(text) + ")");
}

void LogStream::TRACE(unsigned char level, const char* format, va_list& arguments,
                      unsigned char last) {
    Recording().logFormat = format;
    Recording().Record("log(" + std::to_string(level) + "," +
                       support::FormatText(format, arguments) + ")" + below::MarkUnless(last == 0));
}

void LogStream::Flush() { Recording().Record("Flush"); }
