#pragma once

// Reading the cut-cell mesh of a model.

#include "numbered.h"

#include <string>

class KRNIO_Manipulator;

namespace tav3d::meshmapping
{

struct CutCellReadRequest
{
    std::string path;
    bool progress = false;           // print progress lines
    bool ignorePartInsert = false;   // clear the part-insert marks, so that part and part insert are searched alike
    float basicElementLength = 0.0f; // shown in a progress line
};

/// What is read. Arrays are per node, marks are 0 or 1.
struct CutCellMesh
{
    int nodeTotal = 0;
    std::unique_ptr<float[]> x, y, z;
    std::unique_ptr<unsigned char[]> partNode;       // on the part skin
    std::unique_ptr<unsigned char[]> partInsertNode; // on the interface of part and part insert
    std::unique_ptr<bool[]> plasticNode;             // of a plastic element
    std::unique_ptr<bool[]> moldBaseNode;            // of a mould-base element, or on the interface
    std::unique_ptr<int[]> region;                   // 0 interior, 1 on a skin or interface facet, 2 on the interface only
    int surfaceFacetTotal = 0;
    int surfaceNodeTotal = 0;    // at least the number of part nodes
    int partInsertNodeTotal = 0; // at least the number of part-insert nodes
    int interfaceFacetTotal = 0; // part-insert entries on the interface
};

/// Reads the mesh. A file that cannot be read is reported in one line on standard output and gives an empty mesh.
[[nodiscard]] CutCellMesh readCutCellMesh(const CutCellReadRequest& request);

/// Marks the nodes of the next `elementTotal` elements of a block.
[[nodiscard]] std::unique_ptr<bool[]> readPlasticMarks(KRNIO_Manipulator& reader, int elementTotal, int nodeTotal);
[[nodiscard]] std::unique_ptr<bool[]> readMoldBaseMarks(KRNIO_Manipulator& reader, int elementTotal, int nodeTotal);

/// Marks the nodes of the part-insert facets on the interface, and counts the facets. With `facets`, these are also listed there: the table gets
/// one row per entry of the file, at most, each 4 and four corners; it stays absent when the file has no entries.
template <class Mark>
std::unique_ptr<Mark[]> readPartInsertMarks(KRNIO_Manipulator& reader, int nodeTotal, int& interfaceFacetTotal, RowTable<int>* facets);

} // namespace tav3d::meshmapping
