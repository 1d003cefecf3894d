#!/usr/bin/env bash
# Builds Data/world_atlas/countries-{10m,50m}.gpkg from the npm package world-atlas (Natural Earth
# countries as TopoJSON, public domain) and cuts the small extracts the demo tests read from them.
# The countries carry only id and name; the attributes of the built-in 1:110m countries (continent,
# pop_est, gdp_md_est, iso_a3) are joined by name, so that every demo theme has fields to work on.
# Countries the low-resolution layer lacks keep NULL attributes, as real joins do.
# Needs gdal-bin (ogr2ogr) and npm; run once, the results are committed.
set -euo pipefail
cd "$(dirname "$0")/.."
version=2.0.2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && npm pack --silent "world-atlas@$version" >/dev/null && tar xzf "world-atlas-$version.tgz")
out=Data/world_atlas
mkdir -p "$out" Tests/Data/world
lowres=Data/naturalearth_lowres/naturalearth_lowres.shp
join="SELECT c.geom AS geom, c.id AS id, c.name AS name, n.iso_a3 AS iso_a3, n.continent AS continent,
      n.pop_est AS pop_est, n.gdp_md_est AS gdp_md_est FROM topo c LEFT JOIN lowres n ON c.name = n.name"
for scale in 10m 50m; do
  staging="$work/staging-$scale.gpkg"
  ogr2ogr -f GPKG "$staging" "$work/package/countries-$scale.json" countries -nln topo \
    -nlt PROMOTE_TO_MULTI -a_srs EPSG:4326
  ogr2ogr -update "$staging" "$lowres" -nln lowres -nlt NONE
  rm -f "$out/countries-$scale.gpkg"
  ogr2ogr -f GPKG "$out/countries-$scale.gpkg" "$staging" -sql "$join" -nln countries -nlt MULTIPOLYGON
done

# Extracts for the tests: the countries whose geometry is hard (antimeridian, pole, long thin
# coasts, far islands), a line layer (their 1:50m outlines) and a point layer (their capitals'
# rough positions are not in the package; the vertices of the outlines stand in, one in fifty)
names="'Russia','Fiji','Antarctica','Norway','Chile','France','United States of America'"
rm -f Tests/Data/world/countries.gpkg Tests/Data/world/outlines.gpkg Tests/Data/world/points.gpkg
ogr2ogr -f GPKG Tests/Data/world/countries.gpkg "$out/countries-50m.gpkg" \
  -where "name IN ($names)" -nln countries
ogr2ogr -f GPKG Tests/Data/world/outlines.gpkg "$out/countries-50m.gpkg" -dialect SQLite \
  -sql "SELECT name, pop_est, ST_Boundary(geom) AS geom FROM countries WHERE name IN ('Fiji','France','Chile')" \
  -nln outlines -nlt MULTILINESTRING
ogr2ogr -f GPKG Tests/Data/world/points.gpkg "$out/countries-50m.gpkg" -dialect SQLite \
  -sql "SELECT name, pop_est, ST_PointOnSurface(geom) AS geom FROM countries" -nln points -nlt POINT
ls -l "$out" Tests/Data/world
