#include "vorn_xml_canonical.h"

#include <algorithm>

#include "vorn_xml_writing.h"

VORN_XML_CANONICAL_HANDLER::VORN_XML_CANONICAL_HANDLER(std::ostream& out) : stream(out)
{
    DOM_mode = false;
}

VORN_XML_CANONICAL_HANDLER::~VORN_XML_CANONICAL_HANDLER() = default;

void VORN_XML_CANONICAL_HANDLER::escape(const std::string& text, std::string& out)
{
    // Canonical text escapes what an attribute value does.
    vorn_xml_writing::put_escaped(text, true, [&out](const char* p, std::size_t n) { out.append(p, n); });
}

void VORN_XML_CANONICAL_HANDLER::flush()
{
    stream.write(pending.data(), static_cast<std::streamsize>(pending.size()));
    pending.clear();
}

void VORN_XML_CANONICAL_HANDLER::put_doctype()
{
    if (doctype_written)
        return;
    doctype_written = true;
    if (notations.empty())
        return;
    std::stable_sort(notations.begin(), notations.end(),
                     [](const NOTATION& a, const NOTATION& b) { return a.name < b.name; });
    pending += "<!DOCTYPE " + doctype_name + " [\n";
    // A literal in single quotes, or in double ones when it holds a single
    // quote (it cannot hold both kinds).
    const auto quoted = [](const std::string& literal) {
        const char quote = literal.find('\'') == std::string::npos ? '\'' : '"';
        return quote + literal + quote;
    };
    for (const NOTATION& notation : notations) {
        pending += "<!NOTATION " + notation.name;
        if (!notation.public_id.empty()) {
            pending += " PUBLIC " + quoted(notation.public_id);
            if (!notation.system_id.empty())
                pending += " " + quoted(notation.system_id);
        } else {
            pending += " SYSTEM " + quoted(notation.system_id);
        }
        pending += ">\n";
    }
    pending += "]>\n";
}

void VORN_XML_CANONICAL_HANDLER::process_start_document()
{
    pending.clear();
    doctype_name.clear();
    notations.clear();
    have_attributes = false;
    doctype_written = false;
    VORN_XML_STANDARD_HANDLER::process_start_document();
}

void VORN_XML_CANONICAL_HANDLER::process_end_document(const char* text)
{
    flush();
    VORN_XML_STANDARD_HANDLER::process_end_document(text);
}

void VORN_XML_CANONICAL_HANDLER::process_doctype(const std::string& name, const std::string& public_id,
                                                 const std::string& system_id)
{
    doctype_name = name;
    VORN_XML_STANDARD_HANDLER::process_doctype(name, public_id, system_id);
}

void VORN_XML_CANONICAL_HANDLER::process_notation(const std::string& name, const std::string& public_id,
                                                  const std::string& system_id)
{
    add_notation(name, public_id, system_id);
}

void VORN_XML_CANONICAL_HANDLER::add_notation(const std::string& name, const std::string& public_id,
                                              const std::string& system_id)
{
    notations.push_back({name, public_id, system_id});
}

void VORN_XML_CANONICAL_HANDLER::process_attributes(const std::string& element,
                                                    const std::vector<VORN_XML_STANDARD_ATTRIBUTE>& attributes)
{
    attributes_given.clear();
    for (const VORN_XML_STANDARD_ATTRIBUTE& attribute : attributes)
        attributes_given.emplace_back(attribute.name, attribute.value);
    have_attributes = true;
    VORN_XML_STANDARD_HANDLER::process_attributes(element, attributes);
}

void VORN_XML_CANONICAL_HANDLER::process_start_element(const std::string& name, VORN_XML_ATTRIB_LIST*& attributes)
{
    put_doctype();
    if (!have_attributes) {
        attributes_given.clear();
        if (attributes != nullptr) {
            std::string key;
            std::string value;
            attributes->reset_attrib_list();
            while (attributes->get_next_attrib(key, value))
                attributes_given.emplace_back(key, value);
        }
    }
    have_attributes = false;
    std::stable_sort(attributes_given.begin(), attributes_given.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    pending += '<';
    pending += name;
    for (const auto& attribute : attributes_given) {
        pending += ' ';
        pending += attribute.first;
        pending += "=\"";
        escape(attribute.second, pending);
        pending += '"';
    }
    pending += '>';
    if (pending.size() >= vorn_xml_writing::flush_size)
        flush();
    VORN_XML_STANDARD_HANDLER::process_start_element(name, attributes);
}

void VORN_XML_CANONICAL_HANDLER::process_end_element(const std::string& name)
{
    pending += "</";
    pending += name;
    pending += '>';
    if (pending.size() >= vorn_xml_writing::flush_size)
        flush();
    VORN_XML_STANDARD_HANDLER::process_end_element(name);
}

void VORN_XML_CANONICAL_HANDLER::process_characters(const std::string& text)
{
    escape(text, pending);
    if (pending.size() >= vorn_xml_writing::flush_size)
        flush();
    VORN_XML_STANDARD_HANDLER::process_characters(text);
}

void VORN_XML_CANONICAL_HANDLER::process_processing_instruction(const std::string& target, const std::string& data)
{
    pending += "<?";
    pending += target;
    pending += ' ';
    pending += data;
    pending += "?>";
    if (pending.size() >= vorn_xml_writing::flush_size)
        flush();
    VORN_XML_STANDARD_HANDLER::process_processing_instruction(target, data);
}
