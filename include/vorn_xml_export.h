// vornxml -- which names the shared library exports.
//
// Every public class and free function of the library is declared with
// VORN_XML_API.  The library itself is built with hidden visibility, so a
// name without the mark is private to it and may change in any release;
// the private members of an exported class that only the library calls are
// marked VORN_XML_LOCAL, so that they are not exported with their class.
#ifndef VORN_XML_EXPORT_H
#define VORN_XML_EXPORT_H

#if defined(__GNUC__)
#define VORN_XML_API __attribute__((visibility("default")))
// A private member of an exported class that nothing outside the library
// calls (no inline function of the headers reaches it): not exported.
#define VORN_XML_LOCAL __attribute__((visibility("hidden")))
#else
#define VORN_XML_API
#define VORN_XML_LOCAL
#endif

#endif
