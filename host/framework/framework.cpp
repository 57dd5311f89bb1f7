// Registration of the whole framework.
#include "host/framework/framework.h"

namespace host {

void RegisterFramework() {
    RegisterExceptions();
    RegisterEncodings();
    RegisterFiles();
    RegisterDictionary();
    RegisterSystem();
    RegisterShell();
    RegisterRegularExpressions();
    RegisterDates();
    RegisterFunctions(StringFunctions());
    RegisterFunctions(NumberFunctions());
    RegisterFunctions(CodingFunctions());
    RegisterFunctions(JsonFunctions());
}

} // namespace host
