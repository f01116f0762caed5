// A threaded bush: a knurled metal body with a retaining groove, a flange that rests on the boss, and a threaded hole.
// Lengths in mm. The housing is moulded around it, so the surfaces of both are the same where they touch.

insert_x = 12;        // where it stands in the housing
insert_y = 0;
insert_z = 7;         // lower end of the knurled body
boss_top = 15;        // the flange rests here

body_radius = 3.0;    // to the valleys of the knurl
tooth_height = 0.5;
teeth = 18;
groove_radius = 2.7;
flange_radius = 4.4;
flange_height = 1.5;
hole_radius = 1.3;

module knurl_outline()
{
    polygon([for (i = [0:teeth - 1], side = [0:1])
        let (a = (i + side / 2) * 360 / teeth, r = body_radius + side * tooth_height) [r * cos(a), r * sin(a)]]);
}

// Everything that the insert fills, the hole included.
module insert_envelope()
{
    groove = insert_z + 3.2;
    translate([insert_x, insert_y, insert_z]) linear_extrude(3.2) knurl_outline();
    translate([insert_x, insert_y, groove - 0.001]) cylinder(r = groove_radius, h = 1.302, $fn = 54);
    translate([insert_x, insert_y, groove + 1.3]) linear_extrude(boss_top - groove - 1.3) knurl_outline();
    translate([insert_x, insert_y, boss_top - 0.001]) cylinder(r = flange_radius, h = flange_height + 0.001, $fn = 72);
}

module insert()
{
    difference()
    {
        insert_envelope();
        translate([insert_x, insert_y, insert_z + 1.5]) cylinder(r = hole_radius, h = 20, $fn = 36);
    }
}

insert();
