#ifndef VELMORA_VERSION_H
#define VELMORA_VERSION_H

/* The version of the headers; velmora_version() gives the library's at run time. The build reads
 * the numbers from here, so this file is the one place a release changes them. */
#define VELMORA_VERSION_MAJOR 1
#define VELMORA_VERSION_MINOR 0
#define VELMORA_VERSION_PATCH 0
#define VELMORA_VERSION_STRING "1.0.0"
/* One number to compare: 10000 * major + 100 * minor + patch. */
#define VELMORA_VERSION_NUMBER (VELMORA_VERSION_MAJOR * 10000 + VELMORA_VERSION_MINOR * 100 + VELMORA_VERSION_PATCH)

#endif /* VELMORA_VERSION_H */
