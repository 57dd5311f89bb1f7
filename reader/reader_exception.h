// XmlReaderException: a parse that failed, with the main parser's position.
#pragma once

#include "glue/exceptions.h"
#include "reader/classes.h"

struct XML_ParserStruct; // Expat's parser

namespace kova {

struct XmlReaderExceptionData {
    KOVAString message;
    int32_t errorNumber;
    int32_t lineNumber;   // from 1
    int32_t columnNumber; // from 0
    int32_t byteIndex;
    int32_t byteCount;
};
static_assert(sizeof(XmlReaderExceptionData) == 24
              && offsetof(XmlReaderExceptionData, message) == offsetof(ExceptionData, message)
              && offsetof(XmlReaderExceptionData, errorNumber) == offsetof(ExceptionData, errorNumber)
              && offsetof(XmlReaderExceptionData, lineNumber) == 8
              && offsetof(XmlReaderExceptionData, columnNumber) == 12
              && offsetof(XmlReaderExceptionData, byteIndex) == 16
              && offsetof(XmlReaderExceptionData, byteCount) == 20);

// Raises with code, message and position of `main`, also when it was an external entity's parser that failed.
void RaiseReaderException(XML_ParserStruct* main);

// Raises for a Parse inside one of the reader's own events, with the position that it has reached.
void RaiseReaderBusy(XML_ParserStruct* main);

} // namespace kova
