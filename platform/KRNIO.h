#pragma once

// Declarations of the suite's mesh-file library. Spelling is part of the suite's interface.
//
// One reader serves one mesh of one file: `beginReading` opens it, the header getters describe it, and each block is then delivered
// entry by entry, in file order, by repeated calls. Node and element numbers are 1-based; the node arrays that entries are written
// into are plain runs that start at element 0. Every operation returns a negative code on failure or at the end of a block.

class KRNIO_Manipulator
{
public:
    KRNIO_Manipulator();
    ~KRNIO_Manipulator();
    KRNIO_Manipulator(const KRNIO_Manipulator&) = delete;
    KRNIO_Manipulator& operator=(const KRNIO_Manipulator&) = delete;

    /// Whether block `block` stands in the mesh file: non-zero = yes. Block 1 is the node block; the other numbers are listed in
    /// docs/suite-seam.md. A file that cannot be read has no block. Prints nothing.
    static int getFileIthBlockExsistency(const char* file, int block);

    /// Opens one mesh of `file`. `second` is not used and is always null; `mode` 0 = cut-cell mesh, 1 = voxel mesh.
    /// Returns 0, or a negative code; every header value is then zero and every block is empty.
    int beginReading(const char* file, const char* second, int mode);

    /// Header values, valid after a successful `beginReading`.
    int getNNode() const;
    double getScaleFactor() const; ///< mesh coordinate = file coordinate × scale factor
    int getNElementPlastic() const;
    int getNElementMoldBase() const;
    int getNElementSurface() const;
    int getNPartInsert() const; ///< number of part-insert entries

    /// The next node, unscaled.
    int readNodeBlockEntry(float& x, float& y, float& z);

    /// The next plastic element: its node count (4, 5, 6 or 8), its node numbers in `node[0..nNode-1]` (room for 8), the number of its
    /// reference node, its body number and its size (edge length of the grid cell that it stems from, unscaled; 0 = not recorded).
    int readElementPlasticBlockEntry(int& nNode, int* node, int& referenceNode, int& body, float& size);

    /// The next mould-base element, in the same form.
    int readElementMoldBaseBlockEntry(int& nNode, int* node, int& referenceNode, int& body, float& size);

    /// The next surface facet: four corners (a triangle repeats its third corner), the flag (1 = the facet counts), the facet kind
    /// (0 part skin, 1 gate, 2 outer face of the mould block, 3 part/part-insert interface, 4 vent), the numbers of the element behind and
    /// in front of it (0 = none), its body number and its group number.
    int readElementSurfaceBlockEntry(int* node, int& flag, int& kind, int& elementBehind, int& elementInFront, int& body, int& group);

    /// The next part-insert entry: whether it lies on the interface between part and part insert, its four corners, and seven
    /// numbers: insert number, kind, element behind, element in front, body behind, body in front, group.
    int readPartInsertBlockEntry(bool& isInterface, int* node, int& insert, int& kind, int& elementBehind, int& elementInFront,
                                 int& bodyBehind, int& bodyInFront, int& group);

    /// Closes the file; the header values become zero. Calling it twice is harmless.
    int endReading();

private:
    class Impl;
    Impl* m_pImpl; // owned
};
