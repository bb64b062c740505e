#include <stdio.h>
#include <string.h>

#include "xvosc.h"

int main(void) {
    const XvoLibraryVersion* v = xvoscGetLibVersion();
    if (v->major != 6 || strcmp(v->targetCpu, "n8") != 0) return 1;
    printf("%s %s\n", v->name, v->version);
    return 0;
}
