#include "PolicyDocument.h"

#include <expat.h>
#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <exception>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>
#include <unordered_set>
#include <utility>

#include "PolicyFile.h"

namespace {

constexpr const char* kBlanks = " \t\r\n";

// Collects the items of one document from Expat's events. Expat checks that the document is
// well-formed; the handlers refuse what is not a policy.
class DocumentReader {
   public:
    DocumentReader(std::string_view xml, const std::string& name, std::vector<ItemPlace>* places)
        : xml_(xml), name_(name), places_(places) {}

    std::vector<PolicyStore::Item> Read() {
        if (xml_.size() > PolicyStore::kMaxDocumentSize) {
            Refuse(PolicyStore::kMaxDocumentSize, "the document is larger than 16 MiB");
        }
        // A NUL byte would make Expat read the document as UTF-16.
        const std::size_t nul = xml_.find('\0');
        if (nul != std::string_view::npos) {
            Refuse(nul, "a NUL byte");
        }
        Parse();
        return std::move(items_);
    }

   private:
    // An open element. The root element is a group, and so is every element that has an element in
    // it; any other element is an item.
    struct Element {
        ItemPlace place;
        std::size_t parentKeyLength;
        bool isGroup;
    };

    void Parse() {
        if (!parser_) {
            throw std::bad_alloc();
        }
        XML_SetUserData(parser_.get(), this);
        XML_SetXmlDeclHandler(parser_.get(), Forward<&DocumentReader::XmlDeclaration>);
        XML_SetDefaultHandler(parser_.get(), Forward<&DocumentReader::OtherMarkup>);
        XML_SetElementHandler(parser_.get(), Forward<&DocumentReader::StartElement>,
                              Forward<&DocumentReader::EndElement>);
        XML_SetCharacterDataHandler(parser_.get(), Forward<&DocumentReader::Text>);
        const XML_Status status =
            XML_Parse(parser_.get(), xml_.data(), static_cast<int>(xml_.size()), XML_TRUE);
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        if (status != XML_STATUS_OK) {
            RefuseMalformed(XML_GetErrorCode(parser_.get()));
        }
    }

    // Passes an event on to `Handler`. An exception must not pass through Expat, which is written
    // in C: it stops the parser, and Parse() rethrows it. Expat may report the end of an empty
    // element after it was stopped.
    template <auto Handler, class... Arguments>
    static void Forward(void* userData, Arguments... arguments) {
        auto& reader = *static_cast<DocumentReader*>(userData);
        if (reader.failure_) {
            return;
        }
        try {
            (reader.*Handler)(arguments...);
        } catch (...) {
            reader.failure_ = std::current_exception();
            XML_StopParser(reader.parser_.get(), XML_FALSE);
        }
    }

    void XmlDeclaration(const char* /*version*/, const char* encoding, int /*standalone*/) {
        if (encoding != nullptr && strcasecmp(encoding, "UTF-8") != 0) {
            Refuse(Offset(), "the declared encoding is not UTF-8");
        }
    }

    // Receives everything that has no handler of its own, piece by piece. The first piece of a
    // document type is its opening; nothing that it declares is ever read.
    void OtherMarkup(const char* markup, int length) {
        if (std::string_view(markup, static_cast<std::size_t>(length)) == "<!DOCTYPE") {
            Refuse(Offset(), "a document type is not allowed");
        }
    }

    void StartElement(const char* name, const char** attributes) {
        const std::size_t offset = Offset();
        const bool isRoot = open_.empty();
        if (isRoot && name != std::string_view("Policy")) {
            Refuse(offset, "the root element is not \"Policy\"");
        }
        if (attributes[0] != nullptr) {
            Refuse(offset, std::string("element \"") + name + "\" has an attribute");
        }
        const std::size_t parentKeyLength = key_.size();
        if (!isRoot) {
            open_.back().isGroup = true;
            CheckGroupHasNoText();
            key_.append(key_.empty() ? "" : "/").append(name);
        }
        // This also bounds how deep elements nest.
        if (key_.size() > PolicyStore::kMaxKeyLength) {
            Refuse(offset, "the item's name is longer than 255 bytes");
        }
        open_.push_back({ItemPlace(offset), parentKeyLength, isRoot});
        value_.clear();
    }

    // Receives a part of the text of the innermost element: a line end, a run of other characters,
    // or what a reference stands for.
    void Text(const char* text, int length) {
        std::string_view part(text, static_cast<std::size_t>(length));
        if (xml_[Offset()] == '\r') {
            // Values keep line ends as written; Expat reports every line end as "\n".
            part = xml_.substr(Offset(),
                               static_cast<std::size_t>(XML_GetCurrentByteCount(parser_.get())));
        }
        const std::size_t blanks = part.find_first_not_of(kBlanks);
        if (blanks != std::string_view::npos && !textOffset_) {
            textOffset_ = Offset() + blanks;
        }
        CheckGroupHasNoText();
        if (places_ != nullptr && !open_.back().isGroup) {
            open_.back().place.AddPiece(value_.size(), Offset());
        }
        value_ += part;
    }

    void EndElement(const char* /*name*/) {
        Element& element = open_.back();
        if (!element.isGroup) {
            AddItem(std::move(element.place));
        }
        key_.resize(element.parentKeyLength);
        open_.pop_back();
    }

    void AddItem(ItemPlace place) {
        const std::size_t offset = place.Offset();
        if (!keys_.insert(key_).second) {
            Refuse(offset, "a second item \"" + key_ + "\"");
        }
        // Keys are longer than the names in the document, so a small document can give a large
        // file.
        fileSize_ += PolicyFileSizeOfItem(key_.size(), value_.size());
        if (fileSize_ > kMaxPolicyFileSize) {
            Refuse(offset, "the compiled policy would be larger than 64 MiB");
        }
        items_.push_back({key_, std::move(value_)});
        if (places_ != nullptr) {
            places_->push_back(std::move(place));
        }
        textOffset_.reset();
    }

    // Blanks between the elements of a group are layout; other text would be lost.
    void CheckGroupHasNoText() const {
        if (open_.back().isGroup && textOffset_) {
            Refuse(*textOffset_, "text outside of an item");
        }
    }

    // Where the current event begins, or where Expat met an error.
    std::size_t Offset() const {
        return static_cast<std::size_t>(
            std::max<XML_Index>(0, XML_GetCurrentByteIndex(parser_.get())));
    }

    [[noreturn]] void RefuseMalformed(XML_Error error) const {
        if (error == XML_ERROR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        if (error == XML_ERROR_NO_ELEMENTS) {  // at the end of the document
            Refuse(Offset(), open_.empty() ? "no root element" : "an element is not closed");
        }
        Refuse(Offset(), XML_ErrorString(error));
    }

    [[noreturn]] void Refuse(std::size_t offset, const std::string& reason) const {
        throw DocumentRefusal(name_, TextPositions(xml_).At(offset), reason);
    }

    const std::string_view xml_;
    const std::string& name_;
    std::vector<ItemPlace>* const places_;
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser_{
        XML_ParserCreate("UTF-8"), XML_ParserFree};
    std::exception_ptr failure_;

    std::vector<Element> open_;              // from the root to the innermost
    std::string key_;                        // of the innermost; "" for the root
    std::string value_;                      // the innermost's text so far
    std::optional<std::size_t> textOffset_;  // the first character of value_ that is not a blank

    std::vector<PolicyStore::Item> items_;
    std::unordered_set<std::string> keys_;
    std::size_t fileSize_ = kEmptyPolicyFileSize;
};

}  // namespace

DocumentRefusal::DocumentRefusal(const std::string& name, TextPosition position,
                                 const std::string& reason)
    : Error(name + ":" + std::to_string(position.line) + ":" + std::to_string(position.column) +
            ": " + reason),
      position_(position),
      reasonOffset_(std::strlen(what()) - reason.size()) {}

DocumentRefusal::~DocumentRefusal() = default;

std::size_t ItemPlace::OffsetOf(std::size_t valueOffset) const {
    const auto next = std::upper_bound(
        pieces_.begin(), pieces_.end(), valueOffset,
        [](std::size_t offset, const Piece& piece) { return offset < piece.valueOffset; });
    if (next == pieces_.begin()) {
        return offset_;
    }
    const Piece& piece = *std::prev(next);
    return piece.documentOffset + (valueOffset - piece.valueOffset);
}

void ItemPlace::AddPiece(std::size_t valueSize, std::size_t documentOffset) {
    if (pieces_.empty() || OffsetOf(valueSize) != documentOffset) {
        pieces_.push_back({valueSize, documentOffset});
    }
}

std::vector<PolicyStore::Item> ParsePolicyDocument(std::string_view xml, const std::string& name,
                                                   std::vector<ItemPlace>* places) {
    return DocumentReader(xml, name, places).Read();
}
