#pragma once

// Calls that many tests make, on the exported class or on the engine behind it, and what they print.

#include "meshes.h"

#include <gtest/gtest.h>

#include <string>

namespace meshes
{

template <class Engine>
void setMesh(Engine& engine, Mesh& mesh, bool reduce = false)
{
    engine.SetBaseData(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(),
                       mesh.centre.x.data(), mesh.centre.y.data(), mesh.centre.z.data(), mesh.cell.data(), reduce);
}

template <class Engine>
void sort(Engine& engine, Mesh& mesh, Points& data)
{
    engine.SetSorting(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(), mesh.cell.data(),
                      data.count(), data.x.data(), data.y.data(), data.z.data());
}

template <class Engine>
void sortCentre(Engine& engine, Mesh& mesh, Points& data)
{
    engine.SetSortingCenter(mesh.node.count(), mesh.cell.count(), mesh.node.x.data(), mesh.node.y.data(), mesh.node.z.data(),
                            mesh.cell.data(), mesh.centre.x.data(), mesh.centre.y.data(), mesh.centre.z.data(), data.count(), data.x.data(),
                            data.y.data(), data.z.data());
}

/// What standard output receives during `action`.
template <class Action>
std::string printed(Action action)
{
    ::testing::internal::CaptureStdout();
    action();
    return ::testing::internal::GetCapturedStdout();
}

} // namespace meshes
