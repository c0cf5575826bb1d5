#include "Platform/macOS/MacMLModels.h"

#include "MLModel.h"
#include "Runtime.h"

#include <pthread/qos.h>

#include <array>
#include <cstring>

using CoreModel = MLModel;

namespace vorlin {
namespace {

using standins::models;
using standins::taken;
using Calls = std::vector<std::string>;

const std::string utilityOn = "elsewhere: pthread_set_qos_class_self_np 17 0";
const std::string utilityOff = "elsewhere: pthread_set_qos_class_self_np 21 0";
const std::string predicts = "elsewhere: -[MLModel predictionFromFeatures:error:]";

NSError* failure(NSString* text)
{
    return [NSError errorWithDomain:@"com.apple.CoreML"
                               code:0
                           userInfo:@{NSLocalizedDescriptionKey : text}];
}

NSDictionary* nothing()
{
    return [NSDictionary dictionary];
}

/// What an operation that has ended has failed with.
template <class T>
std::string failureOf(const Completion<T>& completion)
{
    if (!completion.await_ready()) {
        return "not ended";
    }
    try {
        completion.await_resume();
    } catch (const MLStopped&) {
        return "stopped";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "done";
}

MLMultiArrayConstraint* arrays(MLMultiArrayDataType type, NSArray<NSNumber*>* shape,
                               MLMultiArrayShapeConstraintType kind)
{
    MLMultiArrayConstraint* constraint = [[MLMultiArrayConstraint alloc] init];
    constraint.dataType = type;
    constraint.shape = shape;
    constraint.shapeConstraint = [[MLMultiArrayShapeConstraint alloc] init];
    constraint.shapeConstraint.type = kind;
    return constraint;
}

MLFeatureDescription* feature(MLMultiArrayConstraint* constraint, bool optional = false)
{
    MLFeatureDescription* description = [[MLFeatureDescription alloc] init];
    description.arrays = constraint;
    description.optional = optional;
    return description;
}

CoreModel* modelOf(NSDictionary<NSString*, MLFeatureDescription*>* inputs,
                   NSDictionary<NSString*, MLFeatureDescription*>* outputs)
{
    CoreModel* model = [[CoreModel alloc] init];
    model.modelDescription = [[MLModelDescription alloc] init];
    model.modelDescription.inputDescriptionsByName = inputs;
    model.modelDescription.outputDescriptionsByName = outputs;
    return model;
}

/// An array that a prediction gives, over memory of the test's.
template <class T, std::size_t size>
MLFeatureValue* output(std::array<T, size>& memory, MLMultiArrayDataType type,
                       NSArray<NSNumber*>* shape, NSArray<NSNumber*>* strides)
{
    NSError* error = nil;
    MLMultiArray* array = [[MLMultiArray alloc] initWithDataPointer:memory.data()
                                                              shape:shape
                                                           dataType:type
                                                            strides:strides
                                                        deallocator:nil
                                                              error:&error];
    return [MLFeatureValue featureValueWithMultiArray:array];
}

class MacMLModelsTest : public testing::Test {
protected:
    MacMLModelsTest() { models() = {}; }
    ~MacMLModelsTest() override
    {
        models() = {};
        standins::forgetLoad();
    }

    static void elsewhere(const std::function<void()>& work) { std::thread(work).join(); }

    Completion<std::unique_ptr<MLModel>> load(const LoadOptions& options = {})
    {
        return system->load("/models/Encoder.mlmodelc", options);
    }

    /// Predicts on a worker, which has no pool.
    std::string predict(MLModel& model, WorkPriority priority = WorkPriority::normal)
    {
        std::string end;
        elsewhere([&] {
            const auto predicted = model.predict(inputs, priority, stop.token());
            end = failureOf(predicted);
            if (end == "done" && outputs != nullptr) {
                *outputs = model.predict(inputs, priority, stop.token()).await_resume();
            }
        });
        return end;
    }

    std::unique_ptr<MLModel> loadedModel(CoreModel* model)
    {
        const auto loaded = load();
        standins::endLoad(model, nil);
        loop.runReady();
        auto made = loaded.await_resume();
        taken();
        return made;
    }
    std::unique_ptr<MLModel> loadedModel() { return loadedModel(modelOf(nothing(), nothing())); }

    SimulatedLoop loop;
    std::unique_ptr<MacMLModels> system = std::make_unique<MacMLModels>(loop);
    MLFeatures inputs;
    MLFeatures* outputs = nullptr;
    StopSource stop;
};

TEST_F(MacMLModelsTest, loadsABundleWithAConfigurationOfItsOwnForTheUnitsAskedFor)
{
    load({.units = ComputeUnits::cpuOnly});
    EXPECT_EQ(taken(), (Calls{"-[MLModelConfiguration init]",
                              "+[MLModel loadContentsOfURL:configuration:completionHandler:] "
                              "file:///models/Encoder.mlmodelc 0"}));
    load({.units = ComputeUnits::cpuAndGPU});
    EXPECT_EQ(taken(), (Calls{"-[MLModelConfiguration init]",
                              "+[MLModel loadContentsOfURL:configuration:completionHandler:] "
                              "file:///models/Encoder.mlmodelc 1"}));
}

TEST_F(MacMLModelsTest, answersOnTheMainLoopAndNotOnTheThreadOfTheSystem)
{
    const auto loaded = load();
    CoreModel* model = modelOf(nothing(), nothing());
    elsewhere([model] { standins::endLoad(model, nil); });
    EXPECT_FALSE(loaded.await_ready());
    loop.runReady();
    ASSERT_TRUE(loaded.await_ready());
    EXPECT_FALSE(loaded.await_resume()->isLost());
}

TEST_F(MacMLModelsTest, aLoadThatFailsSaysWhyInOneLineOnTheMainLoop)
{
    for (NSError* error : {failure(@"No such model.\nmore"), (NSError*)nil}) {
        const auto loaded = load();
        elsewhere([error] { standins::endLoad(nil, error); });
        EXPECT_EQ(failureOf(loaded), "not ended");
        loop.runReady();
        EXPECT_EQ(failureOf(loaded),
                  error == nil ? "The operation could not be completed." : "No such model.");
    }
}

TEST_F(MacMLModelsTest, whatIsNoPathIsNotTakenForTheFolderOfTheProgram)
{
    for (const std::string path : {"", "/\xff"}) {
        EXPECT_EQ(failureOf(system->load(path, {})), "The model's path is no text.");
        EXPECT_EQ(taken(), Calls{"-[MLModelConfiguration init]"});
    }
    loop.runReady();
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(MacMLModelsTest, anExceptionIsAFailedLoad)
{
    models().loadFault = [NSException exceptionWithName:NSGenericException
                                                 reason:@"not a bundle"
                                               userInfo:nil];
    EXPECT_EQ(failureOf(load()), "not a bundle");
    loop.runReady();
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(MacMLModelsTest, aLoadGetsOnForAsLongAsItIsUnderWay)
{
    int progress = 0;
    const auto loaded = load({.onProgress = [&] { ++progress; }});
    loop.advance(std::chrono::seconds(30));
    EXPECT_GE(progress, 30);
    standins::endLoad(modelOf(nothing(), nothing()), nil);
    loop.runReady();
    EXPECT_TRUE(loaded.await_ready());
    const int before = progress;
    loop.advance(std::chrono::seconds(30));
    EXPECT_EQ(progress, before);
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(MacMLModelsTest, aLoadInTheBackgroundYieldsAndOthersDoNot)
{
    elsewhere([this] { load({.priority = WorkPriority::background}); });
    const Calls calls = taken();
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_EQ(calls.front(), utilityOn);
    EXPECT_EQ(calls.back(), utilityOff);
    elsewhere([this] { load(); });
    EXPECT_EQ(taken().size(), 2U);
}

TEST_F(MacMLModelsTest, aLoadThatEndsWhenItIsGoneIsAbandonedAndLeavesNothing)
{
    const long before = standins::alive();
    elsewhere([this] { // it has no pool
        const auto loaded = load();
        system.reset();
        @autoreleasepool {
            standins::endLoad(modelOf(nothing(), nothing()), nil);
        }
        EXPECT_EQ(failureOf(loaded), Abandoned().what());
    });
    loop.runReady();
    EXPECT_EQ(standins::alive(), before);
    EXPECT_EQ(loop.pendingTimers(), 0U);
}

TEST_F(MacMLModelsTest, givesEachInputByItsNameWithItsStrides)
{
    const auto model = loadedModel();
    auto memory =
        std::shared_ptr<std::byte>(new std::byte[64](), std::default_delete<std::byte[]>());
    inputs.emplace("length", MultiArray(MLElementType::int32, {1}));
    inputs.emplace("signal", MultiArray(MLElementType::float16, {2, 3}, {8, 1}, memory));
    inputs.at("length").as<std::int32_t>()[0] = 7;
    __block double given = 0;
    models().prediction = ^id<MLFeatureProvider>(id<MLFeatureProvider> values, NSError**)
    {
        MLMultiArray* length = [values featureValueForName:@"length"].multiArrayValue;
        [length getBytesWithHandler:^(const void* bytes, NSInteger size) {
          given = size == 4 ? *static_cast<const std::int32_t*>(bytes) : -1;
        }];
        return standins::features(nothing());
    };
    const long before = standins::alive();
    EXPECT_EQ(predict(*model), "done");
    EXPECT_EQ(standins::alive(), before) << "a worker has no pool";
    EXPECT_EQ(given, 7);
    const std::string array = "elsewhere: -[MLMultiArray "
                              "initWithDataPointer:shape:dataType:strides:deallocator:error:] ";
    const std::string provider =
        "elsewhere: -[MLDictionaryFeatureProvider initWithDictionary:error:] ";
    EXPECT_EQ(taken(), (Calls{array + "131104 1 by 1 NO", array + "65552 2 3 by 8 1 NO",
                              provider + "(length, signal)", predicts, provider + "()"}));
}

/// The declaration of an array of any shape.
MLFeatureDescription* declared(MLMultiArrayDataType type)
{
    return feature(arrays(type, [NSArray array], MLMultiArrayShapeConstraintTypeUnspecified));
}

TEST_F(MacMLModelsTest, anOutputThatIsNotThereAsDeclaredFailsThePrediction)
{
    const auto model = loadedModel(modelOf(nothing(), @{
        @"duration" : declared(MLMultiArrayDataTypeInt32),
        @"text" : feature(nil),
        @"token_id" : declared(MLMultiArrayDataTypeInt32),
    }));
    std::array<std::int32_t, 1> whole = {4};
    std::array<float, 1> real = {4};
    MLFeatureValue* number = output(whole, MLMultiArrayDataTypeInt32, @[ @1 ], @[ @1 ]);
    MLFeatureValue* other = output(real, MLMultiArrayDataTypeFloat32, @[ @1 ], @[ @1 ]);
    __block NSDictionary* values = @{@"duration" : number, @"token_id" : number};
    models().prediction = ^id<MLFeatureProvider>(id<MLFeatureProvider>, NSError**)
    {
        return standins::features(values);
    };
    EXPECT_EQ(predict(*model), "done");
    const std::string wanted = "The model did not give the output \"token_id\" that it declares.";
    values = @{@"duration" : number};
    EXPECT_EQ(predict(*model), wanted);
    values = @{@"duration" : number, @"token_id" : standins::noArray()};
    EXPECT_EQ(predict(*model), wanted);
    values = @{@"duration" : number, @"token_id" : other};
    EXPECT_EQ(predict(*model), wanted);
}

TEST_F(MacMLModelsTest, readsOutputsByTheirStridesWhereTheyAreLentAndKeepsACopy)
{
    const auto model = loadedModel(modelOf(nothing(), @{
        @"floats" : declared(MLMultiArrayDataTypeFloat32),
        @"halves" : declared(MLMultiArrayDataTypeFloat16),
        @"wholes" : declared(MLMultiArrayDataTypeInt32),
        @"doubles" : declared(MLMultiArrayDataTypeDouble),
        @"text" : feature(nil),
    }));
    std::array<float, 16> padded = {1, 2, 3, 0, 0, 0, 0, 0, 4, 5, 6};
    std::array<std::uint16_t, 2> half = {0x3C00, 0xC000};
    std::array<std::int32_t, 1> whole = {-5};
    std::array<double, 1> wide = {1};
    MLFeatureValue* floats = output(padded, MLMultiArrayDataTypeFloat32, @[ @2, @3 ], @[ @8, @1 ]);
    MLFeatureValue* halves = output(half, MLMultiArrayDataTypeFloat16, @[ @2 ], @[ @1 ]);
    MLFeatureValue* wholes = output(whole, MLMultiArrayDataTypeInt32, @[ @1 ], @[ @1 ]);
    MLFeatureValue* doubles = output(wide, MLMultiArrayDataTypeDouble, @[ @1 ], @[ @1 ]);
    models().prediction = ^id<MLFeatureProvider>(id<MLFeatureProvider>, NSError**)
    {
        return standins::features(@{
            @"floats" : floats,
            @"halves" : halves,
            @"wholes" : wholes,
            @"doubles" : doubles,
            @"text" : standins::noArray()
        });
    };
    MLFeatures given;
    outputs = &given;
    EXPECT_EQ(predict(*model), "done");
    padded.fill(0); // what the system does with its memory later
    ASSERT_EQ(given.size(), 3U) << "what MultiArray does not have is left out";
    const MultiArray& array = given.at("floats");
    EXPECT_EQ(array.elementType(), MLElementType::float32);
    EXPECT_EQ(array.shape(), (MultiArray::Extents{2, 3}));
    EXPECT_EQ(array.strides(), (MultiArray::Extents{8, 1}));
    EXPECT_EQ(array.number(2), 3);
    EXPECT_EQ(array.number(8), 4);
    EXPECT_EQ(array.number(10), 6);
    EXPECT_EQ(given.at("halves").elementType(), MLElementType::float16);
    EXPECT_EQ(given.at("halves").number(0), 1);
    EXPECT_EQ(given.at("halves").number(1), -2);
    EXPECT_EQ(given.at("wholes").number(0), -5);
}

TEST_F(MacMLModelsTest, eachStepThatFailsEndsThePredictionInOneLine)
{
    const auto model = loadedModel();
    inputs.emplace("length", MultiArray(MLElementType::int32, {1}));
    models().prediction = ^id<MLFeatureProvider>(id<MLFeatureProvider>, NSError** error)
    {
        *error = failure(@"The inputs do not fit.\nmore");
        return nil;
    };
    EXPECT_EQ(predict(*model), "The inputs do not fit.");
    models().refusal = failure(@"no memory");
    models().refusesProviders = true;
    EXPECT_EQ(predict(*model), "no memory");
    models().refusesProviders = false;
    models().refusesArrays = true;
    EXPECT_EQ(predict(*model), "no memory");
    models().refusesArrays = false;
    taken();
    models().prediction = ^id<MLFeatureProvider>(id<MLFeatureProvider>, NSError**)
    {
        [[NSException exceptionWithName:NSGenericException reason:@"inside" userInfo:nil] raise];
        return nil;
    };
    EXPECT_EQ(predict(*model), "inside");
    models().prediction = ^id<MLFeatureProvider>(id<MLFeatureProvider>, NSError**)
    {
        return nil;
    };
    EXPECT_EQ(predict(*model), "The operation could not be completed.");
}

TEST_F(MacMLModelsTest, aStoppedPredictionAnswersOnceItHasEnded)
{
    const auto model = loadedModel();
    StopSource* stopping = &stop;
    models().prediction = ^id<MLFeatureProvider>(id<MLFeatureProvider>, NSError** error)
    {
        stopping->requestStop();
        *error = failure(@"late");
        return nil;
    };
    EXPECT_EQ(predict(*model), "stopped");
    EXPECT_EQ(taken().back(), predicts) << "it ran to its end";
    EXPECT_EQ(predict(*model), "stopped");
    EXPECT_EQ(taken(), Calls()) << "one that is stopped before does not begin";
}

TEST_F(MacMLModelsTest, aPredictionInTheBackgroundYieldsAndOthersDoNot)
{
    const auto model = loadedModel();
    models().prediction = ^id<MLFeatureProvider>(id<MLFeatureProvider>, NSError**)
    {
        [[NSException exceptionWithName:NSGenericException reason:@"inside" userInfo:nil] raise];
        return nil;
    };
    const std::string provider =
        "elsewhere: -[MLDictionaryFeatureProvider initWithDictionary:error:] ()";
    EXPECT_EQ(predict(*model, WorkPriority::background), "inside");
    EXPECT_EQ(taken(), (Calls{utilityOn, provider, predicts, utilityOff}));
    EXPECT_EQ(predict(*model, WorkPriority::normal), "inside");
    EXPECT_EQ(taken(), (Calls{provider, predicts}));
}

TEST_F(MacMLModelsTest, aWorkerGoesBackToTheClassItHadAndOneWithoutToTheUsual)
{
    const auto model = loadedModel();
    models().prediction = ^id<MLFeatureProvider>(id<MLFeatureProvider>, NSError**)
    {
        return nil;
    };
    constexpr auto initiated = static_cast<qos_class_t>(25);
    for (const auto before : {QOS_CLASS_UNSPECIFIED, initiated}) {
        qos_class_t after = QOS_CLASS_UNSPECIFIED;
        elsewhere([&] {
            pthread_set_qos_class_self_np(before, 0);
            model->predict(inputs, WorkPriority::background, stop.token());
            after = qos_class_self();
        });
        EXPECT_EQ(after, before == initiated ? initiated : QOS_CLASS_DEFAULT);
    }
}

TEST_F(MacMLModelsTest, aWorkerThatYieldsAnywayGoesOnYielding)
{
    const auto model = loadedModel();
    models().prediction = ^id<MLFeatureProvider>(id<MLFeatureProvider>, NSError**)
    {
        return nil;
    };
    elsewhere([&] {
        pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0);
        taken();
        model->predict(inputs, WorkPriority::background, stop.token());
    });
    EXPECT_EQ(taken().back(), utilityOn);
}

TEST_F(MacMLModelsTest, tellsWhatTheModelDeclares)
{
    MLMultiArrayConstraint* listed =
        arrays(MLMultiArrayDataTypeFloat16, @[ @1 ], MLMultiArrayShapeConstraintTypeEnumerated);
    listed.shapeConstraint.enumeratedShapes = @[ @[ @1, @2 ], @[ @1, @4 ] ];
    MLMultiArrayConstraint* ranged =
        arrays(MLMultiArrayDataTypeInt32, @[ @1 ], MLMultiArrayShapeConstraintTypeRange);
    ranged.shapeConstraint.sizeRangeForDimension =
        @[ standins::range(1, 1), standins::range(16000, 224001) ];
    const auto model = loadedModel(modelOf(
        @{
            @"fixed" : feature(arrays(MLMultiArrayDataTypeFloat32, @[ @1, @80 ],
                                      MLMultiArrayShapeConstraintTypeUnspecified)),
            @"listed" : feature(listed),
            @"ranged" : feature(ranged, true),
        },
        @{
            @"any" : feature(arrays(MLMultiArrayDataTypeFloat32, [NSArray array],
                                    MLMultiArrayShapeConstraintTypeUnspecified)),
            @"double" : feature(arrays(MLMultiArrayDataTypeDouble, @[ @1 ],
                                       MLMultiArrayShapeConstraintTypeUnspecified)),
            @"text" : feature(nil),
        }));
    using Shapes = std::vector<std::vector<ExtentRange>>;
    const auto& in = model->signature().inputs;
    ASSERT_EQ(in.size(), 3U);
    EXPECT_EQ(in[0].name, "fixed");
    EXPECT_EQ(in[0].elementType, MLElementType::float32);
    EXPECT_EQ(in[0].shapes, (Shapes{{{1, 1}, {80, 80}}}));
    EXPECT_FALSE(in[0].optional);
    EXPECT_FALSE(in[0].anyShape);
    EXPECT_EQ(in[1].elementType, MLElementType::float16);
    EXPECT_EQ(in[1].shapes, (Shapes{{{1, 1}, {2, 2}}, {{1, 1}, {4, 4}}}));
    EXPECT_EQ(in[2].elementType, MLElementType::int32);
    EXPECT_EQ(in[2].shapes, (Shapes{{{1, 1}, {16000, 240000}}}));
    EXPECT_TRUE(in[2].optional);
    const auto& out = model->signature().outputs;
    ASSERT_EQ(out.size(), 3U);
    EXPECT_TRUE(out[0].anyShape);
    EXPECT_TRUE(out[0].shapes.empty());
    EXPECT_EQ(out[1].name, "double");
    EXPECT_EQ(out[1].elementType, std::nullopt);
    EXPECT_EQ(out[2].elementType, std::nullopt);
    EXPECT_FALSE(out[2].anyShape);
}

} // namespace
} // namespace vorlin
