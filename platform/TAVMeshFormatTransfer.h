#pragma once

// Declarations of the suite's mesh format transfer. Spelling is part of the suite's interface.

/// Turns a table "nodes of each facet" (format 20) into a table "facets of each node" (format 02).
class CTAVTransfer20to02
{
public:
    /// facet  rows 1..nFacet, each a counted list of node numbers (entry 0 = corner count)
    /// nNode  number of nodes
    /// out    rows 0..nNode of ten ints, zero on entry, provided by the caller: row i becomes a counted list of at most nine facet numbers,
    ///        ascending, each once
    void Get02From20(int nFacet, int** facet, int nNode, int** out);
};
