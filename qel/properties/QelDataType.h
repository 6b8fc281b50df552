#pragma once

/// Type codes of values, shared by variants, properties, histories and the text scanner.
/// The numbers are saved in documents and seen by scripts: never renumber them.
enum QelDataType
{
    eDataUninitialized = 0,
    eDataBoolean = 2,
    eDataInteger = 3,
    eDataReal = 4,
    eDataString = 6,
    eDataFilename = 7,
    eDataFolder = 8,
    eDataColor = 9,
    eDataInterpColor = 10,
    eDataInputObject = 16,
    eDataDisplayObject = 17,
    eDataDisplaySystem = 18,
    eDataManipulatorObject = 19,
    eDataContainerObject = 20
};
