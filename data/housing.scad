// A small housing: a rounded tray with ribs, screw bosses, snap hooks, vents and a boss that a threaded bush is moulded into.
// Lengths in mm. The tray stands on z = 0 and is open at the top.

use <insert.scad>

length = 60;
width = 40;
height = 20;
wall = 2.2;
floor_thickness = 2.4;
corner_radius = 7;    // of the outline
edge_radius = 3.2;    // of the edge between floor and side walls
facets = 104;         // of a full circle at the corners
edge_facets = 22;     // of the quarter circle at the bottom edge

// A rounded post: a cylinder of radius r whose lower rim is rounded with radius e.
module post(r, e, h)
{
    rotate_extrude($fn = facets)
        polygon(concat([[0, 0]], [for (i = [0:edge_facets]) let (a = i * 90 / edge_facets) [r - e + e * sin(a), e - e * cos(a)]], [[r, h], [0, h]]));
}

module tray_solid(l, w, h, r, e)
{
    hull() for (x = [-1, 1], y = [-1, 1]) translate([x * (l / 2 - r), y * (w / 2 - r), 0]) post(r, e, h);
}

module shell()
{
    difference()
    {
        tray_solid(length, width, height, corner_radius, edge_radius);
        translate([0, 0, floor_thickness])
            tray_solid(length - 2 * wall, width - 2 * wall, height, corner_radius - wall, edge_radius - 1.2);
        // rebate for a lid
        translate([0, 0, height - 1.6])
            linear_extrude(2) offset(r = corner_radius - 1.2, $fn = 72) square([length - 2 * corner_radius, width - 2 * corner_radius], center = true);
    }
}

module boss(x, y, outer, h)
{
    translate([x, y, 1]) cylinder(r = outer, h = h - 1, $fn = 72);
    translate([x, y, floor_thickness - 0.2]) cylinder(r1 = outer + 1, r2 = outer, h = 1.2, $fn = 72);
}

module screw_hole(x, y, h)
{
    translate([x, y, 4]) cylinder(r = 1.25, h = h, $fn = 40);
    translate([x, y, h - 0.8]) cylinder(r1 = 1.25, r2 = 2.05, h = 0.801, $fn = 40);
}

module ribs()
{
    // along and across the floor
    translate([-length / 2 + 1, -0.9, 1]) cube([length - 2, 1.8, 6]);
    for (x = [-14, 12]) translate([x - 0.9, -width / 2 + 1, 1]) cube([1.8, width - 2, 5]);
    // gussets that stiffen the boss of the bush
    for (a = [45:90:315]) translate([12, 0, 0]) rotate([0, 0, a])
        rotate([90, 0, 0]) translate([0, 0, -0.9]) linear_extrude(1.8) polygon([[3, 1], [10.5, 1], [10.5, 3.2], [5.6, 12], [3, 12]]);
}

module snap_hook()
{
    // a tongue that rises above the rim, with a nose to the outside
    translate([-4, 0, 1]) cube([8, 2, height + 4]);
    translate([-4, 0, 0]) rotate([90, 0, 90]) linear_extrude(8)
        polygon([[0.01, height + 1.4], [-1.4, height + 2.4], [-1.4, height + 3.0], [0.2, height + 6], [2, height + 6], [2, height - 3]]);
}

module snap_hooks()
{
    for (x = [-14, 18])
    {
        translate([x, -width / 2 + 2, 0]) snap_hook();
        translate([x, width / 2 - 2, 0]) rotate([0, 0, 180]) snap_hook();
    }
}

module vents()
{
    for (y = [-9:4.5:9]) translate([-length / 2 - 1, y, 13]) rotate([0, 90, 0]) hull()
        for (z = [-3, 3]) translate([z, 0, 0]) cylinder(r = 1.1, h = 6, $fn = 28);
    // cable entry on the other side
    translate([length / 2 - 5, 8, 12]) rotate([0, 90, 0]) cylinder(r = 3.2, h = 10, $fn = 64);
}

difference()
{
    union()
    {
        shell();
        ribs();
        for (x = [-23, 23], y = [-13, 13]) boss(x, y, 3.4, 16);
        boss(12, 0, 5.7, 15);
        snap_hooks();
    }
    for (x = [-23, 23], y = [-13, 13]) screw_hole(x, y, 16);
    vents();
    insert_envelope();
}
