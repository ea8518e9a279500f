// vornxml -- which names the shared library exports.
//
// Every public class and free function of the library is declared with
// VORN_XML_API.  The library itself is built with hidden visibility, so a
// name without the mark is private to it and may change in any release.
#ifndef VORN_XML_EXPORT_H
#define VORN_XML_EXPORT_H

#if defined(__GNUC__)
#define VORN_XML_API __attribute__((visibility("default")))
#else
#define VORN_XML_API
#endif

#endif
