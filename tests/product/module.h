/* Loading a library by hand; one source for each platform. */
#ifndef QVG_PRODUCT_MODULE_H
#define QVG_PRODUCT_MODULE_H

#include <stdbool.h>

typedef void (*Function)(void);

void* openModule(const char* path);
Function findFunction(void* module, const char* name);
void closeModule(void* module);
bool isLoaded(const char* path);

#endif
