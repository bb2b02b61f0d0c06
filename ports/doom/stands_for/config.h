// What the engine's own configuration would find out about a system.
#ifndef CONFIG_H
#define CONFIG_H

#define PACKAGE_NAME "Chocolate Doom"
#define PACKAGE_TARNAME "chocolate-doom"
#define PACKAGE_VERSION "3.0.0"
#define PACKAGE_STRING PACKAGE_NAME " " PACKAGE_VERSION
#define PROGRAM_PREFIX "chocolate-"
#define HAVE_DIRENT_H
#define HAVE_DECL_STRCASECMP 1
#define HAVE_DECL_STRNCASECMP 1

#endif
