"""The plug-ins that benchmarks run on volumes of any size, and how.

Left out are plug-ins whose work does not depend on the pixels.
"""

# Plug-in, name of the mode, pixel type, arguments for an edge of n. Lengths grow along.
CASES = [
    ("ConvexifyObjects", "", "binary", lambda _: []),
    ("CylinderMask", "", "grey8", lambda n: [f"s={n / 2}", f"t={n / 2}", f"radius={n / 2}"]),
    ("EuclideanSkeleton", "", "binary", lambda _: []),
    ("ExactBisector", "", "binary", lambda _: []),
    ("ExactMedialAxis", "", "binary", lambda _: []),
    ("FeatureToImage", "", "grey8", lambda _: ["after=FieldFeaturesGrayValueImage"]),
    ("FieldFeaturesGrayValueImage", "", "grey8", lambda _: []),
    ("GaussFilter", "sigma n/64", "grey8", lambda n: [f"sigma={n / 64}"]),
    ("Granulometry", "image", "binary", lambda _: ["returnImage=true"]),
    ("Granulometry", "balls", "binary",
     lambda _: ["returnImage=true", "experimental=true", "medialaxispoint-filtered=true"]),
    ("LinearDt", "", "binary", lambda _: ["direction=x"]),
    ("LocalEulerNumber", "", "binary", lambda _: []),
    ("LocalFiberDirections", "radius n/64", "grey8", lambda n: [f"fiber_radius={n / 64}"]),
    ("MarkSimplePoints", "", "binary", lambda _: []),
    ("PartialDerivative", "", "greyf", lambda _: []),
    ("PointwiseRelation", "", "grey8", lambda _: ["Image2=volume"]),
    ("SegmNiblack", "window n/16", "grey8", lambda n: [f"windowsize={n // 16}"]),
    ("SegmSauvola", "window n/16", "grey8", lambda n: [f"windowsize={n // 16}"]),
    ("Skeleton", "", "binary", lambda _: []),
    ("SphericalMorphology", "closing, radius n/16", "binary", lambda n: ["operation=closing", f"radius={n // 16}"]),
    ("VoronoiEdtPlugin", "", "binary", lambda _: ["ComputeOn=foreground"]),
    ("Watershed", "", "grey8", lambda _: []),
    ("Watershed", "preflood n^3/1000", "grey8", lambda n: ["type=preflood", f"nParameter={n**3 // 1000}"]),
]


def title(case):
    """How a table names a case."""
    return case[0] + (f", {case[1]}" if case[1] else "")
