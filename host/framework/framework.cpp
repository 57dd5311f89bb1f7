// Registration of the whole framework.
#include "host/framework/framework.h"

namespace host {

void RegisterFramework() {
    RegisterExceptions();
    RegisterEncodings();
    RegisterFiles();
    RegisterDictionary();
    RegisterSystem();
    RegisterFunctions(StringFunctions());
    RegisterFunctions(NumberFunctions());
}

} // namespace host
