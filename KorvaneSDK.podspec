# CocoaPods: KorvaneSDK as a vendored XCFramework (built by scripts/ios-xcframework.sh; a release
# publishes it zipped at the source URL below).
Pod::Spec.new do |s|
  s.name = 'KorvaneSDK'
  s.version = '1.0.52-rc.2'
  s.summary = 'The rewards offerwall, its placements and telemetry for iPhone and iPad apps.'
  s.homepage = 'https://korvane.io'
  s.license = { :type => 'Commercial', :text => 'See https://korvane.io/terms' }
  s.author = { 'Korvane' => 'sdk@korvane.io' }
  s.source = { :http => "https://sdk.korvane.io/ios/KorvaneSDK-#{s.version}.xcframework.zip" }
  s.platform = :ios, '14.0'
  s.vendored_frameworks = 'KorvaneSDK.xcframework'
  s.frameworks = 'Foundation', 'UIKit', 'WebKit', 'Security', 'SystemConfiguration', 'AdSupport',
                 'AppTrackingTransparency'
  s.libraries = 'c++', 'z'
end
