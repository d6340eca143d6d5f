// SPDX-License-Identifier: MIT

#pragma once

// A small XML 1.0 well-formedness checker for the tool's SVG output: one root element, tags
// nested and closed in order, attributes quoted and not repeated, entity references known,
// no stray '<' or '&'. It counts the elements by name as it goes. It does not read DTDs and
// does not check namespaces beyond the syntax of names.

#include <cctype>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace ydtest {

struct XmlCheckResult {
    bool ok = false;
    std::string error;  ///< what is wrong and at which line, when not ok
    std::map<std::string, int> elements;
};

class XmlChecker {
  public:
    explicit XmlChecker(const std::string& text) : s_(text) {}

    XmlCheckResult Run() {
        XmlCheckResult r;
        if (!Document(r)) {
            r.ok = false;
            r.error = error_ + " (line " + std::to_string(Line()) + ")";
            return r;
        }
        r.ok = true;
        return r;
    }

  private:
    bool Fail(const std::string& what) {
        if (error_.empty()) {
            error_ = what;
        }
        return false;
    }

    int Line() const {
        int line = 1;
        for (size_t i = 0; i < pos_ && i < s_.size(); ++i) {
            line += s_[i] == '\n' ? 1 : 0;
        }
        return line;
    }

    bool At(const char* lit) const {
        return s_.compare(pos_, std::char_traits<char>::length(lit), lit) == 0;
    }

    void SkipSpace() {
        while (pos_ < s_.size() &&
               (s_[pos_] == ' ' || s_[pos_] == '\t' || s_[pos_] == '\n' || s_[pos_] == '\r')) {
            ++pos_;
        }
    }

    static bool NameStart(char c) {
        return std::isalpha(static_cast<unsigned char>(c)) || c == '_' || c == ':' ||
               static_cast<unsigned char>(c) >= 0x80;
    }
    static bool NameChar(char c) {
        return NameStart(c) || std::isdigit(static_cast<unsigned char>(c)) || c == '-' || c == '.';
    }

    bool Name(std::string& out) {
        if (pos_ >= s_.size() || !NameStart(s_[pos_])) {
            return Fail("expected a name");
        }
        const size_t start = pos_;
        while (pos_ < s_.size() && NameChar(s_[pos_])) {
            ++pos_;
        }
        out = s_.substr(start, pos_ - start);
        return true;
    }

    // An entity or character reference, starting at '&'.
    bool Reference() {
        const size_t semi = s_.find(';', pos_);
        if (semi == std::string::npos || semi - pos_ > 12) {
            return Fail("'&' that does not start a reference");
        }
        const std::string ref = s_.substr(pos_ + 1, semi - pos_ - 1);
        static const std::set<std::string> known = {"amp", "lt", "gt", "quot", "apos"};
        bool ok = known.count(ref) > 0;
        if (!ok && ref.size() > 1 && ref[0] == '#') {
            ok = true;
            const bool hex = ref[1] == 'x';
            for (size_t i = hex ? 2 : 1; i < ref.size(); ++i) {
                ok = ok && (hex ? std::isxdigit(static_cast<unsigned char>(ref[i]))
                                : std::isdigit(static_cast<unsigned char>(ref[i])));
            }
            ok = ok && ref.size() > (hex ? 2u : 1u);
        }
        if (!ok) {
            return Fail("unknown reference '&" + ref + ";'");
        }
        pos_ = semi + 1;
        return true;
    }

    bool Comment() {
        const size_t end = s_.find("-->", pos_ + 4);
        if (end == std::string::npos) {
            return Fail("comment not closed");
        }
        if (s_.find("--", pos_ + 4) < end) {
            return Fail("'--' inside a comment");
        }
        pos_ = end + 3;
        return true;
    }

    bool ProcessingInstruction() {
        const size_t end = s_.find("?>", pos_ + 2);
        if (end == std::string::npos) {
            return Fail("processing instruction not closed");
        }
        pos_ = end + 2;
        return true;
    }

    bool Misc() {
        for (;;) {
            SkipSpace();
            if (At("<!--")) {
                if (!Comment()) {
                    return false;
                }
            } else if (At("<?")) {
                if (!ProcessingInstruction()) {
                    return false;
                }
            } else {
                return true;
            }
        }
    }

    bool Element(XmlCheckResult& r) {
        ++pos_;  // '<'
        std::string name;
        if (!Name(name)) {
            return false;
        }
        ++r.elements[name];
        std::set<std::string> attrs;
        for (;;) {
            const size_t before = pos_;
            SkipSpace();
            if (At("/>")) {
                pos_ += 2;
                return true;
            }
            if (At(">")) {
                ++pos_;
                break;
            }
            if (pos_ == before) {
                return Fail("expected white space, '>' or '/>' in <" + name + ">");
            }
            std::string attr;
            if (!Name(attr)) {
                return false;
            }
            if (!attrs.insert(attr).second) {
                return Fail("attribute '" + attr + "' repeated in <" + name + ">");
            }
            SkipSpace();
            if (!At("=")) {
                return Fail("expected '=' after attribute '" + attr + "'");
            }
            ++pos_;
            SkipSpace();
            if (pos_ >= s_.size() || (s_[pos_] != '"' && s_[pos_] != '\'')) {
                return Fail("attribute '" + attr + "' is not quoted");
            }
            const char q = s_[pos_++];
            while (pos_ < s_.size() && s_[pos_] != q) {
                if (s_[pos_] == '<') {
                    return Fail("'<' inside the value of attribute '" + attr + "'");
                }
                if (s_[pos_] == '&') {
                    if (!Reference()) {
                        return false;
                    }
                    continue;
                }
                ++pos_;
            }
            if (pos_ >= s_.size()) {
                return Fail("value of attribute '" + attr + "' not closed");
            }
            ++pos_;
        }
        // Content up to the matching end tag.
        for (;;) {
            if (pos_ >= s_.size()) {
                return Fail("<" + name + "> is not closed");
            }
            const char c = s_[pos_];
            if (c == '&') {
                if (!Reference()) {
                    return false;
                }
            } else if (c != '<') {
                if (At("]]>")) {
                    return Fail("']]>' in text");
                }
                ++pos_;
            } else if (At("</")) {
                pos_ += 2;
                std::string endName;
                if (!Name(endName)) {
                    return false;
                }
                if (endName != name) {
                    return Fail("</" + endName + "> closes <" + name + ">");
                }
                SkipSpace();
                if (!At(">")) {
                    return Fail("expected '>' after </" + endName);
                }
                ++pos_;
                return true;
            } else if (At("<!--")) {
                if (!Comment()) {
                    return false;
                }
            } else if (At("<![CDATA[")) {
                const size_t end = s_.find("]]>", pos_);
                if (end == std::string::npos) {
                    return Fail("CDATA section not closed");
                }
                pos_ = end + 3;
            } else if (At("<?")) {
                if (!ProcessingInstruction()) {
                    return false;
                }
            } else if (!Element(r)) {
                return false;
            }
        }
    }

    bool Document(XmlCheckResult& r) {
        if (At("\xEF\xBB\xBF")) {
            pos_ += 3;
        }
        if (!Misc()) {
            return false;
        }
        if (!At("<") || At("<!")) {
            return Fail("expected the root element");
        }
        if (!Element(r)) {
            return false;
        }
        if (!Misc()) {
            return false;
        }
        if (pos_ != s_.size()) {
            return Fail("content after the root element");
        }
        return true;
    }

    const std::string& s_;
    size_t pos_ = 0;
    std::string error_;
};

inline XmlCheckResult CheckXml(const std::string& text) {
    return XmlChecker(text).Run();
}

}  // namespace ydtest
