#include "TAVMeshFormatTransfer.h"

namespace
{
constexpr int maxFacets = 9; // what a row of ten ints holds beside its count
}

// Facets are taken in ascending order, so the rows are ascending by themselves, and a facet that names a node twice finds itself last in the row.
void CTAVTransfer20to02::Get02From20(int nFacet, int** facet, int nNode, int** out)
{
    for (int f = 1; f <= nFacet; ++f)
        for (int corner = 1; corner <= facet[f][0]; ++corner)
        {
            const int node = facet[f][corner];
            if (node < 1 || node > nNode)
                continue;
            int* row = out[node];
            const int count = row[0];
            if (count < maxFacets && (count == 0 || row[count] != f))
            {
                row[count + 1] = f;
                row[0] = count + 1;
            }
        }
}
