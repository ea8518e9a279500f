// vornxml -- a small, fast XML parsing library.
//
// The one header a host includes.  It brings in:
//   vorn_companion.h    VORN_FILE, VORN_OBJ, VORN_OBJ_LIST, string helpers
//   vorn_xml_input.h    input sources and vorn_xml_buffer
//   vorn_xml_stream.h   the streaming source: any size, constant memory
//   vorn_xml_errors.h   the message collector
//   vorn_xml_attrib.h   attribute lists
//   vorn_xml_element.h  the element tree
//   vorn_xml_tree.h     the tree handler and the event listener
//   vorn_xml_parser.h   the parser
//   vorn_xml_limits.h   limits for hostile input, and the parser that keeps them
//   vorn_xml_position.h line and column of a failure
//   vorn_xml_push.h     the push parser: documents that arrive in pieces
//   vorn_xml_writer.h   writing a tree back as a document
//   vorn_xml_walk.h     walking a tree without cursors; sub-elements by name
//   vorn_xml_path.h     finding elements by path, in a tree or a stream
//   vorn_xml_version.h  VORN_XML_VERSION_MAJOR, _MINOR, _PATCH and _STRING
//   vorn_xml_export.h   VORN_XML_API, the mark of what the library exports
//   vorn_xml_standard.h reading standard XML 1.0 beside the dialect
//   vorn_xml_standard_writer.h  writing a tree as standard XML 1.0
//   vorn_xml_canonical.h        a document in canonical form, as it is read
#ifndef VORN_XML_H
#define VORN_XML_H

#include "vorn_companion.h"
#include "vorn_xml_attrib.h"
#include "vorn_xml_canonical.h"
#include "vorn_xml_element.h"
#include "vorn_xml_errors.h"
#include "vorn_xml_export.h"
#include "vorn_xml_input.h"
#include "vorn_xml_limits.h"
#include "vorn_xml_parser.h"
#include "vorn_xml_path.h"
#include "vorn_xml_position.h"
#include "vorn_xml_push.h"
#include "vorn_xml_standard.h"
#include "vorn_xml_standard_writer.h"
#include "vorn_xml_stream.h"
#include "vorn_xml_tree.h"
#include "vorn_xml_version.h"
#include "vorn_xml_walk.h"
#include "vorn_xml_writer.h"

#endif
