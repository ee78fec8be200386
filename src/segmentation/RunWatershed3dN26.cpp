#include "segmentation/RunWatershedImpl.h"

template quillon::StWatershedOutcome
quillon::RunWatershed<ORVEN::CNeighborhood3dDiffN26>(const quillon::StWatershedRun& run);
