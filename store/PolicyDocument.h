// Parsing policy documents.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "PolicyStore.h"
#include "TextPosition.h"

// A document that is refused. The message is "NAME:LINE:COLUMN: REASON".
class DocumentRefusal : public PolicyStore::Error {
   public:
    DocumentRefusal(const std::string& name, TextPosition position, const std::string& reason);
    ~DocumentRefusal() override;

    TextPosition Position() const {
        return position_;
    }
    const char* Reason() const {
        return what() + reasonOffset_;
    }

   private:
    TextPosition position_;
    std::size_t reasonOffset_;  // in the message
};

// Where an item is in its document. Offsets count bytes, a byte order mark included.
class ItemPlace {
   public:
    // `offset` is that of the "<" of the item's start tag.
    explicit ItemPlace(std::size_t offset) : offset_(offset) {}

    std::size_t Offset() const {
        return offset_;
    }

    // Returns the place in the document of the value's byte `valueOffset`, or the item's own place
    // if the value is empty.
    std::size_t OffsetOf(std::size_t valueOffset) const;

    // Says that what follows the first `valueSize` bytes of the value is at `documentOffset`.
    void AddPiece(std::size_t valueSize, std::size_t documentOffset);

   private:
    // Bytes that follow each other in the value as they do in the document. References, CDATA
    // sections and comments begin another piece.
    struct Piece {
        std::size_t valueOffset;
        std::size_t documentOffset;
    };

    std::size_t offset_;
    std::vector<Piece> pieces_;  // ascending
};

// Returns the items of the policy document `xml` in document order, and fills `places`, unless it
// is null, with the place of each. Throws DocumentRefusal when the document is refused.
std::vector<PolicyStore::Item> ParsePolicyDocument(std::string_view xml, const std::string& name,
                                                   std::vector<ItemPlace>* places = nullptr);
