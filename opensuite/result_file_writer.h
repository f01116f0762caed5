#pragma once

// Building a result file: descriptions first, then item after item, then the tables. The suite's writer class is a shell around this.

#include "TAV3DCoolTools.h"
#include "cgns_writer.h"
#include "result_file_reader.h"
#include "result_layout.h"
#include "result_mesh.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tav3d::opensuite
{

/// Collects the description of a result file, stores the values of items as they come, and completes the file in `finish`. Every operation
/// checks what it gets and throws FileError: BadInput for what contradicts the rest (nothing is stored then), CannotWrite when the file
/// system refuses. Until `finish` has returned, whatever stood at the target is untouched.
class ResultFileWriter
{
public:
    /// Throws CannotWrite when nothing can be written at `target`: no such folder, no permission, a folder of that name.
    ResultFileWriter(std::string target, bool onCutCellMesh);

    /// Title, mesh file and node counts. The node counts must agree with the mesh file when that is there. `source`: the open file that the
    /// record was read from, or null; it is asked for the length of arrays that it made.
    void setHead(const CBinaryInform& inform, std::shared_ptr<const OpenResultFile> source, double fillingTime);
    void setCooling(const CBinaryInform& inform);
    void setOutputTimes(const CBinaryInform& inform);
    void setItems(const CBinaryInform& inform);

    /// The result types, after the head. A type without an ID map has a value per node of the mesh that the file stands on, whichever of the
    /// model's two meshes its recorded dimension counts.
    void setTypes(const CBinaryInform& inform);

    /// The node numbers of the types with an ID map, after the types: strictly ascending, from 1 to the node count.
    void setIDMaps(const CBinaryInform& inform);

    void setTimeStepMode(int mode) { timeStepMode_ = mode; }
    void setVenting(bool has) { venting_ = has; }

    /// Stores entries 1..n of `value` at once; the array is not needed afterwards. TAV3DResultEngine.h tells how n follows.
    void writeItem(int item, const float* value);

    /// One entry per item of the table, in its order, starting at entry 0.
    void setExtremes(const float* max, const float* min);

    /// Completes the file and moves it to its name. Refused while an item of the table has no values.
    void finish();

private:
    struct Item
    {
        CBinaryResultItem row;
        std::string array;
        result_layout::Storage storage = result_layout::Storage::None;
        bool written = false;
    };

    [[noreturn]] void refuse(const std::string& item, const std::string& reason) const;
    void needBefore(bool there, const char* item, const char* what) const;
    void checkText(const std::string& item, const std::string& text) const;
    void beginZone();
    void addLines(const std::string& parent, const char* name, const std::vector<std::string>& lines);
    void writeDescription();
    void writeItemTable(const std::string& parent);
    void writeTypeTable(const std::string& parent);

    std::string target_;
    CgnsWriter file_;
    bool onCutCellMesh_;
    std::shared_ptr<const OpenResultFile> source_;

    CBinaryInform head_; // title, mesh file (relative to the target), node counts, filling time, cooling, output times
    bool hasHead_ = false;
    bool hasItems_ = false;
    bool hasTypes_ = false;
    int timeStepMode_ = 1;
    bool venting_ = false;

    std::optional<ResultMesh> mesh_; // nothing when the mesh file is not there
    std::int32_t nodeTotal_ = 0;     // of the mesh that the file stands on

    std::vector<Item> items_; // in the order of the table
    std::map<int, std::size_t> itemAt_;
    std::map<int, CBinaryResultType> types_;
    std::string zone_; // path, once begun
    bool hasOtherLayout_ = false;
};

} // namespace tav3d::opensuite
