window.KorvaneBridge = {
    postMessage: function(type, data) {
        var message = { type: type, data: data || {} };
        if (window.webkit && window.webkit.messageHandlers && window.webkit.messageHandlers.korvaneNative) {
            window.webkit.messageHandlers.korvaneNative.postMessage(JSON.stringify(message));
        } else {
            console.error('Native bridge not available');
        }
    },
    openWebView: function(url) { this.postMessage('openWebView', { url: url }); },
    close: function() { this.postMessage('close', {}); },
    closeAndOpenWebView: function(url) { this.postMessage('closeOpenWebView', { url: url }); },
    openExternalBrowser: function(url) { this.postMessage('externalOpenBrowser', { url: url }); },
    quizStarted: function(quizId) { this.postMessage('quizStarted', { quizId: quizId }); },
    quizCompleted: function(quizId, score) { this.postMessage('quizCompleted', { quizId: quizId, score: score }); },
    missionCompleted: function(missionId) { this.postMessage('missionCompleted', { missionId: missionId }); },
    missionRefreshed: function(unitId) { this.postMessage('missionRefreshed', { unitId: unitId || '' }); },
    getUserInfo: function(callback) {
        window.userInfoCallback = callback;
        this.postMessage('getUserInfo', {});
    },
    trackEvent: function(eventNameOrObject, parameters) {
        if (typeof eventNameOrObject === 'string') {
            this.postMessage('trackEvent', { eventName: eventNameOrObject, parameters: parameters || {} });
        } else if (eventNameOrObject !== null && typeof eventNameOrObject === 'object') {
            this.postMessage('trackEvent', eventNameOrObject);
        } else {
            console.error('[KorvaneBridge] trackEvent: Invalid parameter type');
        }
    },
    openAdjoeOfferwall: function(placementId) {
        this.postMessage('openAdjoeOfferwall', { placementId: placementId || 'default' });
    },
    checkAppInstalled: function(params, legacyCallback) {
        if (typeof params === 'string') {
            this.postMessage('checkAppInstalled', { identifier: params, callback: legacyCallback });
        } else if (params !== null && typeof params === 'object') {
            this.postMessage('checkAppInstalled', params);
        } else {
            console.error('[KorvaneBridge] checkAppInstalled: Invalid parameter type');
        }
    },
    sendEvent: function(eventType, payload) {
        this.postMessage('customEvent', { eventType: eventType, payload: payload || {} });
    },
    requestData: function(requestType, params, callback) {
        var requestId = 'req_' + Date.now() + '_' + Math.random().toString(36).substr(2, 9);
        if (typeof callback === 'function') {
            window['_korvane_callback_' + requestId] = callback;
        }
        this.postMessage('dataRequest', { requestId: requestId, requestType: requestType, params: params || {} });
    }
};
console.log('KorvaneBridge injected successfully');
