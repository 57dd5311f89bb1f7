/* Registers the extension that libxslt has for its own tests, as xsltproc does. */
#include <libxslt/extensions.h>

__attribute__((constructor)) static void Register(void) { xsltRegisterTestModule(); }
