#pragma once

// An open result file. The suite's reader class is a shell around this; records read from it share it.

#include "TAV3DCoolTools.h"
#include "cgns_reader.h"
#include "file_state.h"
#include "result_layout.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tav3d::opensuite
{

/// Opens a result file for reading and checks its description as a whole: tables against each other, ID maps against the node count, and the
/// arrays of all items against the tables. Values are read when they are asked for. The mesh file is never looked at.
class OpenResultFile
{
public:
    /// Throws FileError: CannotOpen, WrongKind for what is no result file, BadContent for what is incomplete or contradicts itself.
    explicit OpenResultFile(const std::string& file);

    /// Whether it is open, `file` is the name that it has been opened with, and what stands there now is surely what was opened then.
    [[nodiscard]] bool isStill(const std::string& file) const;

    /// Everything but the values; the mesh file's path as seen from the working directory.
    [[nodiscard]] const CBinaryInform& description() const noexcept { return description_; }

    /// Number of values that items of the type store, 0 for a type that the file does not know.
    [[nodiscard]] int dimension(int resultType) const;

    [[nodiscard]] bool hasItem(int item) const { return items_.contains(item); }

    /// Fills entries 1..d of `buffer`, d = dimension of the item's type. False when the item keeps another layout than its type: then only
    /// what both have room for is given, and zeros after it. Throws FileError when the values cannot be read; the buffer is then as it was.
    bool readItem(int item, float* buffer) const;

    /// An array of the item's values: entries 1..nNode, entry 0 is 0, values behind an ID map at their nodes. It lives until the next call or
    /// `close`. Throws FileError when the item does not exist, is not of the type or cannot be read, std::bad_alloc when there is no room for it.
    float* createFullResult(int item, int resultType, int& nNode);

    /// Length nNode of the array that `createFullResult` gave last; nothing for any other pointer.
    [[nodiscard]] std::optional<int> lengthOf(const float* array) const;

    /// Closes the file and releases the arrays. The description stays.
    void close();

private:
    struct Item
    {
        int type = 0;
        result_layout::Storage storage = result_layout::Storage::None;
        CgnsArray array; // without storage: none
    };
    struct Release
    {
        void operator()(float* array) const noexcept;
    };
    /// The array of `createFullResult`. It serves item after item: memory that is touched for the first time costs more than reading into it.
    struct FullResult
    {
        std::unique_ptr<float[], Release> values;
        int count = 0; // of the item that it holds
        int used = 0;  // entries 1..used have been filled, all of them with values of the file
    };

    void makeRoom(int n);

    void readHead(const std::string& parent);
    void readTypes(const std::string& parent);
    void readItems(const std::string& parent);
    Item openItem(const CBinaryResultItem& row, int storage, const std::string& arrayName) const;
    [[nodiscard]] std::vector<std::string> readLines(const std::string& path, std::size_t count) const;
    const Item& find(int item) const;

    std::string name_;
    std::optional<FileState> state_;   // before the opening
    std::unique_ptr<CgnsReader> file_; // null after `close`
    CBinaryInform description_;
    std::int32_t nodeTotal_ = 0; // of the mesh that the results stand on
    std::string zone_;
    std::map<int, Item> items_;
    FullResult full_;
    std::vector<float> compact_; // values behind an ID map, on their way into it
};

} // namespace tav3d::opensuite
