var Ht=Object.defineProperty;var Ut=Object.getOwnPropertyDescriptor;var n=(s,t,e,r)=>{for(var i=r>1?void 0:r?Ut(t,e):t,o=s.length-1,a;o>=0;o--)(a=s[o])&&(i=(r?a(t,e,i):a(i))||i);return r&&i&&Ht(t,e,i),i};var Fe="api/v1/",Ke="xp-token";function nt(){let s=/[#&?]token=([^&]+)/.exec(location.hash+location.search);s&&(sessionStorage.setItem(Ke,decodeURIComponent(s[1])),history.replaceState(null,"",location.pathname+(location.hash.includes("token=")?"":location.hash)))}var O=()=>sessionStorage.getItem(Ke)??"",lt=s=>sessionStorage.setItem(Ke,s),M=class{constructor(t,e,r,i=""){this.status=t;this.code=e;this.sentence=r;this.hint=i}};function Re(s){let t=new URL(Fe+s,document.baseURI);return t.protocol=t.protocol==="https:"?"wss:":"ws:",t.href}var Le=s=>new URL(Fe+s,document.baseURI).href;async function Q(s,t,e,r={}){let i={...r};O()&&(i.Authorization=`Bearer ${O()}`),e!==void 0&&(i["Content-Type"]="application/json");try{let o=await fetch(Fe+t,{method:s,headers:i,body:e===void 0?void 0:JSON.stringify(e),cache:"no-store"});return o.ok?o:await Dt(o)}catch{return new M(0,"unreachable","The panel does not answer.","It is asked again as soon as the link is back.")}}async function X(s){let t=await Q("GET",s);if(t instanceof M)return t;try{return await t.json()}catch{return new M(t.status,"unreadable","The panel's answer cannot be read.")}}async function Dt(s){try{let t=await s.json(),e=r=>typeof t[r]=="string"?t[r]:"";return new M(s.status,e("code")||String(s.status),e("detail")||e("title"),e("hint"))}catch{return new M(s.status,String(s.status),`The panel answers ${s.status}.`)}}nt();document.documentElement.dataset.theme=localStorage.getItem("xp-theme")??"dark";var ze=globalThis,Ne=ze.ShadowRoot&&(ze.ShadyCSS===void 0||ze.ShadyCSS.nativeShadow)&&"adoptedStyleSheets"in Document.prototype&&"replace"in CSSStyleSheet.prototype,We=Symbol(),dt=new WeakMap,ve=class{constructor(t,e,r){if(this._$cssResult$=!0,r!==We)throw Error("CSSResult is not constructable. Use `unsafeCSS` or `css` instead.");this.cssText=t,this.t=e}get styleSheet(){let t=this.o,e=this.t;if(Ne&&t===void 0){let r=e!==void 0&&e.length===1;r&&(t=dt.get(e)),t===void 0&&((this.o=t=new CSSStyleSheet).replaceSync(this.cssText),r&&dt.set(e,t))}return t}toString(){return this.cssText}},ct=s=>new ve(typeof s=="string"?s:s+"",void 0,We),p=(s,...t)=>{let e=s.length===1?s[0]:t.reduce((r,i,o)=>r+(a=>{if(a._$cssResult$===!0)return a.cssText;if(typeof a=="number")return a;throw Error("Value passed to 'css' function must be a 'css' function result: "+a+". Use 'unsafeCSS' to pass non-literal values, but take care to ensure page security.")})(i)+s[o+1],s[0]);return new ve(e,s,We)},ht=(s,t)=>{if(Ne)s.adoptedStyleSheets=t.map(e=>e instanceof CSSStyleSheet?e:e.styleSheet);else for(let e of t){let r=document.createElement("style"),i=ze.litNonce;i!==void 0&&r.setAttribute("nonce",i),r.textContent=e.cssText,s.appendChild(r)}},Ve=Ne?s=>s:s=>s instanceof CSSStyleSheet?(t=>{let e="";for(let r of t.cssRules)e+=r.cssText;return ct(e)})(s):s;var{is:qt,defineProperty:It,getOwnPropertyDescriptor:jt,getOwnPropertyNames:Bt,getOwnPropertySymbols:Ft,getPrototypeOf:Kt}=Object,Oe=globalThis,pt=Oe.trustedTypes,Wt=pt?pt.emptyScript:"",Vt=Oe.reactiveElementPolyfillSupport,fe=(s,t)=>s,be={toAttribute(s,t){switch(t){case Boolean:s=s?Wt:null;break;case Object:case Array:s=s==null?s:JSON.stringify(s)}return s},fromAttribute(s,t){let e=s;switch(t){case Boolean:e=s!==null;break;case Number:e=s===null?null:Number(s);break;case Object:case Array:try{e=JSON.parse(s)}catch{e=null}}return e}},He=(s,t)=>!qt(s,t),mt={attribute:!0,type:String,converter:be,reflect:!1,useDefault:!1,hasChanged:He};Symbol.metadata??=Symbol("metadata"),Oe.litPropertyMetadata??=new WeakMap;var I=class extends HTMLElement{static addInitializer(t){this._$Ei(),(this.l??=[]).push(t)}static get observedAttributes(){return this.finalize(),this._$Eh&&[...this._$Eh.keys()]}static createProperty(t,e=mt){if(e.state&&(e.attribute=!1),this._$Ei(),this.prototype.hasOwnProperty(t)&&((e=Object.create(e)).wrapped=!0),this.elementProperties.set(t,e),!e.noAccessor){let r=Symbol(),i=this.getPropertyDescriptor(t,r,e);i!==void 0&&It(this.prototype,t,i)}}static getPropertyDescriptor(t,e,r){let{get:i,set:o}=jt(this.prototype,t)??{get(){return this[e]},set(a){this[e]=a}};return{get:i,set(a){let d=i?.call(this);o?.call(this,a),this.requestUpdate(t,d,r)},configurable:!0,enumerable:!0}}static getPropertyOptions(t){return this.elementProperties.get(t)??mt}static _$Ei(){if(this.hasOwnProperty(fe("elementProperties")))return;let t=Kt(this);t.finalize(),t.l!==void 0&&(this.l=[...t.l]),this.elementProperties=new Map(t.elementProperties)}static finalize(){if(this.hasOwnProperty(fe("finalized")))return;if(this.finalized=!0,this._$Ei(),this.hasOwnProperty(fe("properties"))){let e=this.properties,r=[...Bt(e),...Ft(e)];for(let i of r)this.createProperty(i,e[i])}let t=this[Symbol.metadata];if(t!==null){let e=litPropertyMetadata.get(t);if(e!==void 0)for(let[r,i]of e)this.elementProperties.set(r,i)}this._$Eh=new Map;for(let[e,r]of this.elementProperties){let i=this._$Eu(e,r);i!==void 0&&this._$Eh.set(i,e)}this.elementStyles=this.finalizeStyles(this.styles)}static finalizeStyles(t){let e=[];if(Array.isArray(t)){let r=new Set(t.flat(1/0).reverse());for(let i of r)e.unshift(Ve(i))}else t!==void 0&&e.push(Ve(t));return e}static _$Eu(t,e){let r=e.attribute;return r===!1?void 0:typeof r=="string"?r:typeof t=="string"?t.toLowerCase():void 0}constructor(){super(),this._$Ep=void 0,this.isUpdatePending=!1,this.hasUpdated=!1,this._$Em=null,this._$Ev()}_$Ev(){this._$ES=new Promise(t=>this.enableUpdating=t),this._$AL=new Map,this._$E_(),this.requestUpdate(),this.constructor.l?.forEach(t=>t(this))}addController(t){(this._$EO??=new Set).add(t),this.renderRoot!==void 0&&this.isConnected&&t.hostConnected?.()}removeController(t){this._$EO?.delete(t)}_$E_(){let t=new Map,e=this.constructor.elementProperties;for(let r of e.keys())this.hasOwnProperty(r)&&(t.set(r,this[r]),delete this[r]);t.size>0&&(this._$Ep=t)}createRenderRoot(){let t=this.shadowRoot??this.attachShadow(this.constructor.shadowRootOptions);return ht(t,this.constructor.elementStyles),t}connectedCallback(){this.renderRoot??=this.createRenderRoot(),this.enableUpdating(!0),this._$EO?.forEach(t=>t.hostConnected?.())}enableUpdating(t){}disconnectedCallback(){this._$EO?.forEach(t=>t.hostDisconnected?.())}attributeChangedCallback(t,e,r){this._$AK(t,r)}_$ET(t,e){let r=this.constructor.elementProperties.get(t),i=this.constructor._$Eu(t,r);if(i!==void 0&&r.reflect===!0){let o=(r.converter?.toAttribute!==void 0?r.converter:be).toAttribute(e,r.type);this._$Em=t,o==null?this.removeAttribute(i):this.setAttribute(i,o),this._$Em=null}}_$AK(t,e){let r=this.constructor,i=r._$Eh.get(t);if(i!==void 0&&this._$Em!==i){let o=r.getPropertyOptions(i),a=typeof o.converter=="function"?{fromAttribute:o.converter}:o.converter?.fromAttribute!==void 0?o.converter:be;this._$Em=i;let d=a.fromAttribute(e,o.type);this[i]=d??this._$Ej?.get(i)??d,this._$Em=null}}requestUpdate(t,e,r,i=!1,o){if(t!==void 0){let a=this.constructor;if(i===!1&&(o=this[t]),r??=a.getPropertyOptions(t),!((r.hasChanged??He)(o,e)||r.useDefault&&r.reflect&&o===this._$Ej?.get(t)&&!this.hasAttribute(a._$Eu(t,r))))return;this.C(t,e,r)}this.isUpdatePending===!1&&(this._$ES=this._$EP())}C(t,e,{useDefault:r,reflect:i,wrapped:o},a){r&&!(this._$Ej??=new Map).has(t)&&(this._$Ej.set(t,a??e??this[t]),o!==!0||a!==void 0)||(this._$AL.has(t)||(this.hasUpdated||r||(e=void 0),this._$AL.set(t,e)),i===!0&&this._$Em!==t&&(this._$Eq??=new Set).add(t))}async _$EP(){this.isUpdatePending=!0;try{await this._$ES}catch(e){Promise.reject(e)}let t=this.scheduleUpdate();return t!=null&&await t,!this.isUpdatePending}scheduleUpdate(){return this.performUpdate()}performUpdate(){if(!this.isUpdatePending)return;if(!this.hasUpdated){if(this.renderRoot??=this.createRenderRoot(),this._$Ep){for(let[i,o]of this._$Ep)this[i]=o;this._$Ep=void 0}let r=this.constructor.elementProperties;if(r.size>0)for(let[i,o]of r){let{wrapped:a}=o,d=this[i];a!==!0||this._$AL.has(i)||d===void 0||this.C(i,void 0,o,d)}}let t=!1,e=this._$AL;try{t=this.shouldUpdate(e),t?(this.willUpdate(e),this._$EO?.forEach(r=>r.hostUpdate?.()),this.update(e)):this._$EM()}catch(r){throw t=!1,this._$EM(),r}t&&this._$AE(e)}willUpdate(t){}_$AE(t){this._$EO?.forEach(e=>e.hostUpdated?.()),this.hasUpdated||(this.hasUpdated=!0,this.firstUpdated(t)),this.updated(t)}_$EM(){this._$AL=new Map,this.isUpdatePending=!1}get updateComplete(){return this.getUpdateComplete()}getUpdateComplete(){return this._$ES}shouldUpdate(t){return!0}update(t){this._$Eq&&=this._$Eq.forEach(e=>this._$ET(e,this[e])),this._$EM()}updated(t){}firstUpdated(t){}};I.elementStyles=[],I.shadowRootOptions={mode:"open"},I[fe("elementProperties")]=new Map,I[fe("finalized")]=new Map,Vt?.({ReactiveElement:I}),(Oe.reactiveElementVersions??=[]).push("2.1.2");var et=globalThis,ut=s=>s,Ue=et.trustedTypes,gt=Ue?Ue.createPolicy("lit-html",{createHTML:s=>s}):void 0,$t="$lit$",J=`lit$${Math.random().toFixed(9).slice(2)}$`,kt="?"+J,Jt=`<${kt}>`,re=document,we=()=>re.createComment(""),$e=s=>s===null||typeof s!="object"&&typeof s!="function",tt=Array.isArray,Gt=s=>tt(s)||typeof s?.[Symbol.iterator]=="function",Je=`[ 	
\f\r]`,ye=/<(?:(!--|\/[^a-zA-Z])|(\/?[a-zA-Z][^>\s]*)|(\/?$))/g,vt=/-->/g,ft=/>/g,ee=RegExp(`>|${Je}(?:([^\\s"'>=/]+)(${Je}*=${Je}*(?:[^ 	
\f\r"'\`<>=]|("|')|))|$)`,"g"),bt=/'/g,yt=/"/g,xt=/^(?:script|style|textarea|title)$/i,rt=s=>(t,...e)=>({_$litType$:s,strings:t,values:e}),l=rt(1),L=rt(2),Pr=rt(3),ie=Symbol.for("lit-noChange"),h=Symbol.for("lit-nothing"),wt=new WeakMap,te=re.createTreeWalker(re,129);function Et(s,t){if(!tt(s)||!s.hasOwnProperty("raw"))throw Error("invalid template strings array");return gt!==void 0?gt.createHTML(t):t}var Yt=(s,t)=>{let e=s.length-1,r=[],i,o=t===2?"<svg>":t===3?"<math>":"",a=ye;for(let d=0;d<e;d++){let c=s[d],$,y,g=-1,x=0;for(;x<c.length&&(a.lastIndex=x,y=a.exec(c),y!==null);)x=a.lastIndex,a===ye?y[1]==="!--"?a=vt:y[1]!==void 0?a=ft:y[2]!==void 0?(xt.test(y[2])&&(i=RegExp("</"+y[2],"g")),a=ee):y[3]!==void 0&&(a=ee):a===ee?y[0]===">"?(a=i??ye,g=-1):y[1]===void 0?g=-2:(g=a.lastIndex-y[2].length,$=y[1],a=y[3]===void 0?ee:y[3]==='"'?yt:bt):a===yt||a===bt?a=ee:a===vt||a===ft?a=ye:(a=ee,i=void 0);let P=a===ee&&s[d+1].startsWith("/>")?" ":"";o+=a===ye?c+Jt:g>=0?(r.push($),c.slice(0,g)+$t+c.slice(g)+J+P):c+J+(g===-2?d:P)}return[Et(s,o+(s[e]||"<?>")+(t===2?"</svg>":t===3?"</math>":"")),r]},ke=class s{constructor({strings:t,_$litType$:e},r){let i;this.parts=[];let o=0,a=0,d=t.length-1,c=this.parts,[$,y]=Yt(t,e);if(this.el=s.createElement($,r),te.currentNode=this.el.content,e===2||e===3){let g=this.el.content.firstChild;g.replaceWith(...g.childNodes)}for(;(i=te.nextNode())!==null&&c.length<d;){if(i.nodeType===1){if(i.hasAttributes())for(let g of i.getAttributeNames())if(g.endsWith($t)){let x=y[a++],P=i.getAttribute(g).split(J),w=/([.?@])?(.*)/.exec(x);c.push({type:1,index:o,name:w[2],strings:P,ctor:w[1]==="."?Ye:w[1]==="?"?Ze:w[1]==="@"?Qe:de}),i.removeAttribute(g)}else g.startsWith(J)&&(c.push({type:6,index:o}),i.removeAttribute(g));if(xt.test(i.tagName)){let g=i.textContent.split(J),x=g.length-1;if(x>0){i.textContent=Ue?Ue.emptyScript:"";for(let P=0;P<x;P++)i.append(g[P],we()),te.nextNode(),c.push({type:2,index:++o});i.append(g[x],we())}}}else if(i.nodeType===8)if(i.data===kt)c.push({type:2,index:o});else{let g=-1;for(;(g=i.data.indexOf(J,g+1))!==-1;)c.push({type:7,index:o}),g+=J.length-1}o++}}static createElement(t,e){let r=re.createElement("template");return r.innerHTML=t,r}};function le(s,t,e=s,r){if(t===ie)return t;let i=r!==void 0?e._$Co?.[r]:e._$Cl,o=$e(t)?void 0:t._$litDirective$;return i?.constructor!==o&&(i?._$AO?.(!1),o===void 0?i=void 0:(i=new o(s),i._$AT(s,e,r)),r!==void 0?(e._$Co??=[])[r]=i:e._$Cl=i),i!==void 0&&(t=le(s,i._$AS(s,t.values),i,r)),t}var Ge=class{constructor(t,e){this._$AV=[],this._$AN=void 0,this._$AD=t,this._$AM=e}get parentNode(){return this._$AM.parentNode}get _$AU(){return this._$AM._$AU}u(t){let{el:{content:e},parts:r}=this._$AD,i=(t?.creationScope??re).importNode(e,!0);te.currentNode=i;let o=te.nextNode(),a=0,d=0,c=r[0];for(;c!==void 0;){if(a===c.index){let $;c.type===2?$=new xe(o,o.nextSibling,this,t):c.type===1?$=new c.ctor(o,c.name,c.strings,this,t):c.type===6&&($=new Xe(o,this,t)),this._$AV.push($),c=r[++d]}a!==c?.index&&(o=te.nextNode(),a++)}return te.currentNode=re,i}p(t){let e=0;for(let r of this._$AV)r!==void 0&&(r.strings!==void 0?(r._$AI(t,r,e),e+=r.strings.length-2):r._$AI(t[e])),e++}},xe=class s{get _$AU(){return this._$AM?._$AU??this._$Cv}constructor(t,e,r,i){this.type=2,this._$AH=h,this._$AN=void 0,this._$AA=t,this._$AB=e,this._$AM=r,this.options=i,this._$Cv=i?.isConnected??!0}get parentNode(){let t=this._$AA.parentNode,e=this._$AM;return e!==void 0&&t?.nodeType===11&&(t=e.parentNode),t}get startNode(){return this._$AA}get endNode(){return this._$AB}_$AI(t,e=this){t=le(this,t,e),$e(t)?t===h||t==null||t===""?(this._$AH!==h&&this._$AR(),this._$AH=h):t!==this._$AH&&t!==ie&&this._(t):t._$litType$!==void 0?this.$(t):t.nodeType!==void 0?this.T(t):Gt(t)?this.k(t):this._(t)}O(t){return this._$AA.parentNode.insertBefore(t,this._$AB)}T(t){this._$AH!==t&&(this._$AR(),this._$AH=this.O(t))}_(t){this._$AH!==h&&$e(this._$AH)?this._$AA.nextSibling.data=t:this.T(re.createTextNode(t)),this._$AH=t}$(t){let{values:e,_$litType$:r}=t,i=typeof r=="number"?this._$AC(t):(r.el===void 0&&(r.el=ke.createElement(Et(r.h,r.h[0]),this.options)),r);if(this._$AH?._$AD===i)this._$AH.p(e);else{let o=new Ge(i,this),a=o.u(this.options);o.p(e),this.T(a),this._$AH=o}}_$AC(t){let e=wt.get(t.strings);return e===void 0&&wt.set(t.strings,e=new ke(t)),e}k(t){tt(this._$AH)||(this._$AH=[],this._$AR());let e=this._$AH,r,i=0;for(let o of t)i===e.length?e.push(r=new s(this.O(we()),this.O(we()),this,this.options)):r=e[i],r._$AI(o),i++;i<e.length&&(this._$AR(r&&r._$AB.nextSibling,i),e.length=i)}_$AR(t=this._$AA.nextSibling,e){for(this._$AP?.(!1,!0,e);t!==this._$AB;){let r=ut(t).nextSibling;ut(t).remove(),t=r}}setConnected(t){this._$AM===void 0&&(this._$Cv=t,this._$AP?.(t))}},de=class{get tagName(){return this.element.tagName}get _$AU(){return this._$AM._$AU}constructor(t,e,r,i,o){this.type=1,this._$AH=h,this._$AN=void 0,this.element=t,this.name=e,this._$AM=i,this.options=o,r.length>2||r[0]!==""||r[1]!==""?(this._$AH=Array(r.length-1).fill(new String),this.strings=r):this._$AH=h}_$AI(t,e=this,r,i){let o=this.strings,a=!1;if(o===void 0)t=le(this,t,e,0),a=!$e(t)||t!==this._$AH&&t!==ie,a&&(this._$AH=t);else{let d=t,c,$;for(t=o[0],c=0;c<o.length-1;c++)$=le(this,d[r+c],e,c),$===ie&&($=this._$AH[c]),a||=!$e($)||$!==this._$AH[c],$===h?t=h:t!==h&&(t+=($??"")+o[c+1]),this._$AH[c]=$}a&&!i&&this.j(t)}j(t){t===h?this.element.removeAttribute(this.name):this.element.setAttribute(this.name,t??"")}},Ye=class extends de{constructor(){super(...arguments),this.type=3}j(t){this.element[this.name]=t===h?void 0:t}},Ze=class extends de{constructor(){super(...arguments),this.type=4}j(t){this.element.toggleAttribute(this.name,!!t&&t!==h)}},Qe=class extends de{constructor(t,e,r,i,o){super(t,e,r,i,o),this.type=5}_$AI(t,e=this){if((t=le(this,t,e,0)??h)===ie)return;let r=this._$AH,i=t===h&&r!==h||t.capture!==r.capture||t.once!==r.once||t.passive!==r.passive,o=t!==h&&(r===h||i);i&&this.element.removeEventListener(this.name,this,r),o&&this.element.addEventListener(this.name,this,t),this._$AH=t}handleEvent(t){typeof this._$AH=="function"?this._$AH.call(this.options?.host??this.element,t):this._$AH.handleEvent(t)}},Xe=class{constructor(t,e,r){this.element=t,this.type=6,this._$AN=void 0,this._$AM=e,this.options=r}get _$AU(){return this._$AM._$AU}_$AI(t){le(this,t)}};var Zt=et.litHtmlPolyfillSupport;Zt?.(ke,xe),(et.litHtmlVersions??=[]).push("3.3.3");var _t=(s,t,e)=>{let r=e?.renderBefore??t,i=r._$litPart$;if(i===void 0){let o=e?.renderBefore??null;r._$litPart$=i=new xe(t.insertBefore(we(),o),o,void 0,e??{})}return i._$AI(s),i};var it=globalThis,A=class extends I{constructor(){super(...arguments),this.renderOptions={host:this},this._$Do=void 0}createRenderRoot(){let t=super.createRenderRoot();return this.renderOptions.renderBefore??=t.firstChild,t}update(t){let e=this.render();this.hasUpdated||(this.renderOptions.isConnected=this.isConnected),super.update(t),this._$Do=_t(e,this.renderRoot,this.renderOptions)}connectedCallback(){super.connectedCallback(),this._$Do?.setConnected(!0)}disconnectedCallback(){super.disconnectedCallback(),this._$Do?.setConnected(!1)}render(){return ie}};A._$litElement$=!0,A.finalized=!0,it.litElementHydrateSupport?.({LitElement:A});var Qt=it.litElementPolyfillSupport;Qt?.({LitElement:A});(it.litElementVersions??=[]).push("4.2.2");var u=s=>(t,e)=>{e!==void 0?e.addInitializer(()=>{customElements.define(s,t)}):customElements.define(s,t)};var Xt={attribute:!0,type:String,converter:be,reflect:!1,hasChanged:He},er=(s=Xt,t,e)=>{let{kind:r,metadata:i}=e,o=globalThis.litPropertyMetadata.get(i);if(o===void 0&&globalThis.litPropertyMetadata.set(i,o=new Map),r==="setter"&&((s=Object.create(s)).wrapped=!0),o.set(e.name,s),r==="accessor"){let{name:a}=e;return{set(d){let c=t.get.call(this);t.set.call(this,d),this.requestUpdate(a,c,s,!0,d)},init(d){return d!==void 0&&this.C(a,void 0,s,d),d}}}if(r==="setter"){let{name:a}=e;return function(d){let c=this[a];t.call(this,d),this.requestUpdate(a,c,s,!0,d)}}throw Error("Unsupported decorator location: "+r)};function m(s){return(t,e)=>typeof e=="object"?er(s,t,e):((r,i,o)=>{let a=i.hasOwnProperty(o);return i.constructor.createProperty(o,r),a?Object.getOwnPropertyDescriptor(i,o):void 0})(s,t,e)}function v(s){return m({...s,state:!0,attribute:!1})}var se=(s,t,e)=>(e.configurable=!0,e.enumerable=!0,Reflect.decorate&&typeof t!="object"&&Object.defineProperty(s,t,e),e);function E(s,t){return(e,r,i)=>{let o=a=>a.renderRoot?.querySelector(s)??null;if(t){let{get:a,set:d}=typeof r=="object"?e:i??(()=>{let c=Symbol();return{get(){return this[c]},set($){this[c]=$}}})();return se(e,r,{get(){let c=a.call(this);return c===void 0&&(c=o(this),(c!==null||this.hasUpdated)&&d.call(this,c)),c}})}return se(e,r,{get(){return o(this)}})}}var Ee=class extends Event{constructor(e){super("xp-frame");this.frame=e}};function De(s,t,e){if(!t)return()=>{};let r=s.getRootNode(),i=o=>{o instanceof Ee&&o.target.id===t&&e(o.frame)};return r.addEventListener("xp-frame",i,!0),()=>r.removeEventListener("xp-frame",i,!0)}var N=-60,tr=20/1.7,rr=1500,_e=-9,ir=-18,sr=[0,-6,-12,-18,-24,-30,-40,-50],or=s=>s>0?Math.max(N,20*Math.log10(s)):N,j=class extends A{constructor(){super(...arguments);this.channels=8;this.flat=!1;this.picture="";this.state=[];this.shown=0;this.loudest=N;this.release=()=>{};this.observer=new ResizeObserver(()=>this.draw())}connectedCallback(){super.connectedCallback(),this.release=De(this,this.picture,e=>this.show(e.meters)),this.observer.observe(this)}disconnectedCallback(){super.disconnectedCallback(),this.release(),this.observer.disconnect()}show(e){let r=performance.now(),i=this.shown?tr*Math.min(r-this.shown,1e3)/1e3:0;this.shown=r,this.loudest=N;for(let o=0;o<this.channels;++o){let a=or(e[o]??0),d=this.state[o]??={level:N,peak:N,peakAt:0};d.level=Math.max(a,d.level-i),a>=d.peak?[d.peak,d.peakAt]=[a,r]:r-d.peakAt>rr&&(d.peak=Math.max(d.level,d.peak-i)),this.loudest=Math.max(this.loudest,d.level)}this.draw()}draw(){let e=this.canvas,r=e?.getContext("2d");if(!r||!this.clientWidth)return;let i=window.devicePixelRatio,o=Math.round(this.clientWidth*i),a=Math.round(this.clientHeight*i);(e.width!==o||e.height!==a)&&([e.width,e.height]=[o,a]);let d=getComputedStyle(this),c=(S,U)=>d.getPropertyValue(S).trim()||U;r.clearRect(0,0,o,a);let y=.62*(parseFloat(d.fontSize)*i),g=this.flat?1.1*y:2*y,x=this.flat?1.2*y:1.5*y,P=this.flat?o-x:a-x-y/2,w=(this.flat?a:o)-g,_=w/this.channels,H=Math.max(1,Math.floor(_*.68)),V=S=>Math.round((Math.max(S,N)-N)/-N*P);r.font=`${y}px ${c("--sans","sans-serif")}`,r.textBaseline="middle";let ge=(S,U,q,at)=>{this.flat?r.fillRect(x+S,U,q,at):r.fillRect(g+U,a-x-S-q,at,q)};for(let S=0;S<this.channels;++S){let U=Math.round(S*_),q=this.state[S]??{level:N,peak:N,peakAt:0};r.fillStyle=c("--raised","#1b1e21"),ge(0,U,P,H),r.fillStyle=c("--text","#c9ced3"),ge(0,U,V(Math.min(q.level,_e)),H),q.level>_e&&(r.fillStyle=c("--amber","#f0a830"),ge(V(_e),U,V(q.level)-V(_e),H)),q.peak>N&&(r.fillStyle=q.peak>_e?c("--amber","#f0a830"):c("--bright","#fff"),ge(V(q.peak)-Math.ceil(i),U,2*Math.ceil(i),H)),r.fillStyle=c("--dim","#8d959d"),r.textAlign="center",!(_<y)&&(this.flat?r.fillText(String(S+1),y/2,U+H/2):r.fillText(String(S+1),g+U+H/2,a-x/2))}r.textAlign=this.flat?"center":"right";for(let S of sr)r.fillStyle=c(S===ir?"--bright":"--dim","#8d959d"),this.flat?r.fillText(String(-S),Math.min(x+V(S),o-y/2),a-g/2):r.fillText(String(-S),g-.45*y,a-x-V(S)),r.fillStyle=c("--ground","#000"),ge(V(S),0,Math.max(1,Math.round(i)),w)}render(){let e=this.loudest<=N?"silent":`${this.loudest.toFixed(0)} decibels of full scale`;return l`<canvas role="img" aria-label="Sound levels: ${e}"></canvas>`}};j.styles=p`
    :host { display: block; position: relative; }
    canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
  `,n([m({type:Number})],j.prototype,"channels",2),n([m({type:Boolean})],j.prototype,"flat",2),n([m({attribute:"for"})],j.prototype,"picture",2),n([E("canvas")],j.prototype,"canvas",2),j=n([u("xp-meter")],j);var ar=1,nr=200,qe=class{constructor(){this.onframe=()=>{};this.fallback=!1;this.socket=null;this.waiting=null;this.decoding=!1;this.failures=0;this.heard=0;this.running=!1}start(){this.running||(this.running=!0,this.connect())}stop(){this.running=!1,this.socket?.close(),this.socket=null}connect(){if(this.running){if(this.failures>=3){this.fallback=!0,this.askForFile(),setTimeout(()=>this.open(),5e3);return}this.open()}}open(){if(!this.running)return;let t;try{t=new WebSocket(Re("pictures"),O()?["xp",`token.${O()}`]:["xp"])}catch{this.failures++,setTimeout(()=>this.connect(),200);return}t.binaryType="arraybuffer",this.socket=t,t.onmessage=e=>{e.data instanceof ArrayBuffer&&(this.failures=0,this.fallback=!1,this.heard=performance.now(),this.waiting=e.data,this.decode())},t.onclose=()=>{t===this.socket&&(this.socket=null,this.failures++,setTimeout(()=>this.connect(),200))}}get age(){return performance.now()-this.heard}async decode(){if(!this.decoding){for(this.decoding=!0;this.waiting;){let t=this.waiting;this.waiting=null;try{let e=await lr(t);e&&this.onframe(e)}catch{}}this.decoding=!1}}async askForFile(){for(;this.running&&this.fallback;){try{let t=await fetch(Le("picture.jpg"),{cache:"no-store",headers:O()?{Authorization:`Bearer ${O()}`}:{}});t.ok&&await this.showFile(t)}catch{}await new Promise(t=>setTimeout(t,nr))}}async showFile(t){let e=i=>t.headers.get(i)??"",r=await createImageBitmap(await t.blob());this.heard=performance.now(),this.onframe({tick:Number(e("X-Tick")),frame:Number(e("X-Frame")||-1),timecode:e("X-Timecode"),isCapture:e("X-Capture")==="1",isRepeat:!1,hasPicture:!0,meters:e("X-Meters").split(",").filter(Boolean).map(Number),captured:Number(e("X-Captured")),image:r})}};async function lr(s){let t=new DataView(s);if(s.byteLength<112||t.getUint16(0,!0)!==ar)return null;let e=t.getUint16(2,!0),r=t.getUint32(4,!0),i=[];for(let d=0;d<8;++d)i.push(t.getFloat32(32+4*d,!0));let o=new TextDecoder().decode(new Uint8Array(s,64,32)),a=await createImageBitmap(new Blob([new Uint8Array(s,e)],{type:"image/jpeg"}));return{tick:Number(t.getBigInt64(8,!0)),frame:Number(t.getBigInt64(16,!0)),captured:Number(t.getBigInt64(24,!0))/1e6,meters:i,timecode:o.slice(0,o.indexOf("\0")<0?void 0:o.indexOf("\0")),isCapture:(r&1)!==0,isRepeat:(r&2)!==0,hasPicture:(r&4)!==0,image:a}}var G=class extends A{constructor(){super(...arguments);this.auto=!1;this.stale=!1;this.link=new qe;this.last=null}connectedCallback(){super.connectedCallback(),this.link.onframe=e=>this.paint(e),this.auto&&this.link.start()}disconnectedCallback(){super.disconnectedCallback(),this.link.stop()}paint(e){let r=this.canvas;r&&((r.width!==e.image.width||r.height!==e.image.height)&&(r.width=e.image.width,r.height=e.image.height),r.getContext("2d",{alpha:!1})?.drawImage(e.image,0,0),e.image.close(),this.last=e,this.dispatchEvent(new Ee(e)))}render(){return l`<canvas width="960" height="540" role="img" aria-label="Picture on the output"></canvas>`}};G.styles=p`
    :host { display: block; position: relative; background: #000; overflow: hidden; }
    canvas { display: block; width: 100%; height: 100%; object-fit: contain; }
    :host([stale]) canvas { filter: grayscale(1) brightness(0.45); }
  `,n([m({type:Boolean})],G.prototype,"auto",2),n([m({type:Boolean,reflect:!0})],G.prototype,"stale",2),n([E("canvas")],G.prototype,"canvas",2),G=n([u("xp-picture")],G);var B=class extends A{constructor(){super(...arguments);this.value="--:--:--:--";this.age=0;this.recording=!1;this.picture="";this.release=()=>{}}connectedCallback(){super.connectedCallback(),this.release=De(this,this.picture,e=>this.value=e.timecode)}disconnectedCallback(){super.disconnectedCallback(),this.release()}render(){let e=this.age>0;return l`<span role="timer" aria-live="off" class=${e?"stale":""}>${this.value||"--:--:--:--"}</span>${e?l`<span class="age">${(this.age/1e3).toFixed(1)} s old</span>`:h}`}};B.styles=p`
    :host { display: inline-block; font-family: var(--sans, sans-serif); font-weight: 700; font-variant-numeric: tabular-nums;
      line-height: 1; white-space: pre; color: var(--bright, #f5f7f8); letter-spacing: -0.01em; }
    :host([recording]) { color: var(--red-text, #ff5f54); }
    .stale { color: var(--edge, #5d656d); }
    .age { font-family: var(--sans, sans-serif); font-size: max(0.16em, 12px); letter-spacing: 0; color: var(--amber, #f0a830); margin-left: 0.6em; vertical-align: middle; }
  `,n([m()],B.prototype,"value",2),n([m({type:Number})],B.prototype,"age",2),n([m({type:Boolean,reflect:!0})],B.prototype,"recording",2),n([m({attribute:"for"})],B.prototype,"picture",2),B=n([u("xp-timecode")],B);var St=500,At=[100,250,500,900],Ie=class{constructor(){this.state=null;this.counters={};this.verbs=[];this.parameters=new Map;this.pending=new Set;this.notice=null;this.linked=!1;this.silence=0;this.clockOffset=null;this.version="";this.socket=null;this.seq=-1;this.boot="";this.heard=performance.now();this.tries=0;this.listeners=new Set;this.scheduled=!1;this.bestTrip=1/0;this.owedSteps=0;this.stepping=!1;this.wantedSpeed=null;this.speeding=!1;this.beats=0}start(){this.connect(),setInterval(()=>this.watch(),100),document.addEventListener("visibilitychange",()=>this.watch())}subscribe(t){return this.listeners.add(t),()=>this.listeners.delete(t)}alive(){this.heard=performance.now(),this.silence!==0&&(this.silence=0,this.changed())}get stale(){return this.silence>0}verb(t){return this.verbs.find(e=>e.name===t)}async run(t,e={}){this.pending.add(t),this.changed();let r=await Q("POST",`transport/${t}`,e);this.pending.delete(t);let i=await Mt(r);return i.done?this.notice?.kind==="refused"&&(this.notice=null):this.tell({kind:"refused",title:dr(t),text:[i.sentence,i.hint].filter(Boolean).join(" ")}),this.changed(),i}steps(t){this.owedSteps+=t,!this.stepping&&(this.stepping=!0,(async()=>{for(;this.owedSteps!==0;){let e=this.owedSteps;this.owedSteps=0,(await this.run("step",{frames:e})).done||(this.owedSteps=0)}this.stepping=!1})())}speed(t){this.wantedSpeed=t,!this.speeding&&(this.speeding=!0,(async()=>{for(;this.wantedSpeed!==null;){let e=this.wantedSpeed;this.wantedSpeed=null,(e===0?await this.run("still"):await this.run("play",{speed:e})).done||(this.wantedSpeed=null)}this.speeding=!1})())}async set(t,e){let r=await Mt(await Q("PUT",`params/${encodeURIComponent(t)}`,{value:e}));return r.done||this.tell({kind:"refused",title:t,text:[r.sentence,r.hint].filter(Boolean).join(" ")}),r}tell(t){this.notice=t,this.changed()}changed(){this.scheduled||(this.scheduled=!0,queueMicrotask(()=>{this.scheduled=!1;for(let t of[...this.listeners])t()}))}connect(){let t=new URLSearchParams;this.seq>=0&&t.set("since",String(this.seq)),this.boot&&t.set("boot",this.boot);let e=new WebSocket(Re("events")+(t.size?`?${t}`:""),O()?["xp",`token.${O()}`]:["xp"]);this.socket=e,e.onopen=()=>this.ping(),e.onmessage=r=>this.receive(r),e.onclose=()=>this.lost(e)}lost(t){if(t!==this.socket)return;this.socket=null,this.linked=!1,this.changed();let e=At[Math.min(this.tries++,At.length-1)];setTimeout(()=>this.connect(),e)}receive(t){let e;try{e=JSON.parse(String(t.data))}catch{return}switch(this.alive(),e.type){case"hello":this.boot!==e.boot&&(this.seq=-1),this.boot=String(e.boot??""),this.version=String(e.version??""),this.linked=!0,this.tries=0,this.readTables();break;case"counters":this.counters=e.counters;break;case"snapshot":this.state=e.state,this.seq=Number(e.seq);break;case"delta":if(this.state===null||Number(e.seq)!==this.seq+1){this.seq=-1,this.socket?.close();return}this.seq=Number(e.seq),this.state={...this.state,...e.changed};break;case"pong":this.measure(Number(e.ping),Number(e.time));return;default:return}this.changed()}ping(){this.socket?.readyState===WebSocket.OPEN&&this.socket.send(JSON.stringify({ping:performance.now()}))}measure(t,e){let i=performance.now()-t;this.bestTrip=Math.min(this.bestTrip*1.02,1/0),!(i>this.bestTrip)&&(this.bestTrip=i,this.clockOffset=e-(t+i/2))}async readTables(){let t=await X("verbs");t instanceof M||(this.verbs=t.verbs),await this.readParameters()}async readParameters(){let t=await X("params");t instanceof M||(this.parameters=new Map(t.parameters.map(e=>[e.name,e])),this.changed())}watch(){this.beats++%10===0&&this.ping();let t=performance.now()-this.heard;t>3*St&&this.socket?.readyState===WebSocket.OPEN&&this.socket.close();let e=t>St?t:0;e!==this.silence&&(this.silence=e,this.changed())}},dr=s=>{let t=s.replaceAll("_"," ");return t.charAt(0).toUpperCase()+t.slice(1)};async function Mt(s){return s instanceof M?{done:!1,code:s.code,sentence:s.sentence,hint:s.hint}:{done:!0,code:"done",sentence:"",hint:""}}var C=s=>s?.status==="recording";function Pt(){let s=[],t=0;return{add(e){return s.push(e),s.length>50&&s.shift(),++t%10!==0?null:[...s].sort((r,i)=>r-i)[s.length>>1]},all:()=>[...s]}}var b=class extends A{constructor(){super(...arguments);this.unsubscribe=()=>{}}connectedCallback(){super.connectedCallback(),this.unsubscribe=this.deck.subscribe(()=>this.requestUpdate())}disconnectedCallback(){super.disconnectedCallback(),this.unsubscribe()}render(){try{return this.view()??h}catch(e){return l`<p role="alert">This part cannot be shown (${String(e)}). The others are not affected.</p>`}}};n([m({attribute:!1})],b.prototype,"deck",2);var f=p`
  * { box-sizing: border-box; }
  :host { display: block; color: var(--text); font-size: 1rem; }
  button, input, select, textarea { font: inherit; color: inherit; }
  button {
    background: var(--raised); border: 1px solid var(--line); border-radius: var(--round); min-height: 2.75rem; padding: 0 0.75rem;
    color: var(--text); cursor: pointer; touch-action: manipulation;
  }
  button:hover { background: var(--lifted); }
  button:disabled { color: var(--edge); cursor: default; background: var(--panel); }
  button.small { min-height: 1.9rem; padding: 0 0.5rem; font-size: 0.8125rem; }
  @media (pointer: coarse) { button.small { min-height: 2.75rem; } }
  input, select, textarea {
    background: var(--ground); border: 1px solid var(--edge); border-radius: var(--round); min-height: 2.25rem; padding: 0 0.6rem; min-width: 0;
  }
  :focus-visible { outline: 2px solid var(--focus); outline-offset: 1px; }
  h2 { font-size: 0.8125rem; font-weight: 700; color: var(--bright); margin: 0; }
  .dim { color: var(--dim); }
  .figure { font-weight: 700; font-variant-numeric: tabular-nums; }
  .label { font-size: 0.6875rem; color: var(--dim); letter-spacing: 0.02em; }
  .cut { overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
  [role="alert"] { color: var(--amber); padding: 0.75rem; margin: 0; }
  [hidden] { display: none !important; }
  .hidden { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); white-space: nowrap; }
`;function oe(s){if(!Number.isFinite(s)||s<0)return"-";let t=Math.floor(s),e=Math.floor(t/3600),r=Math.floor(t/60)%60,i=o=>String(o).padStart(2,"0");return e>=1?`${e} h ${i(r)} min`:r>=1?`${r} min ${i(t%60)} s`:`${t} s`}function Y(s,t){let e=Math.max(1,Math.round(t||25)),r=Math.max(0,Math.floor(s)),i=a=>String(a).padStart(2,"0"),o=Math.floor(r/e);return`${i(Math.floor(o/3600))}:${i(Math.floor(o/60)%60)}:${i(o%60)}:${i(r%e)}`}function Se(s){let t=["B","kB","MB","GB","TB"],e=0;for(;s>=1e3&&e<t.length-1;)s/=1e3,++e;return`${s>=100||e===0?s.toFixed(0):s.toFixed(1)} ${t[e]}`}var k=s=>s.replaceAll("_"," ");var Tt={error:"✕",warning:"!",information:"i",clear:"✓"},ae=class extends b{constructor(){super(...arguments);this.history=[];this.problem="";this.known="";this.reading=!1}willUpdate(){let e=(this.deck.state?.alarm_list??[]).map(r=>r.name+r.since+(r.acknowledged_by??"")).join();e===this.known&&this.history.length||(this.known=e,this.read())}async read(){if(this.reading)return;this.reading=!0;let e=await X("alarms/history");e instanceof M?this.problem=e.sentence:(this.problem="",this.history=e.history),setTimeout(()=>this.reading=!1,1e3)}view(){let e=this.deck.state?.alarm_list??[];return l`
      <section aria-label="Now">
        <h2>Now</h2>
        ${e.length?e.map(r=>this.alarm(r)):l`<p class="calm">Nothing is wrong.</p>`}
      </section>
      <section aria-label="History">
        <h2>History</h2>
        ${this.problem?l`<p role="alert">${this.problem}</p>`:h}
        <table>
          <tbody>
            ${[...this.history].reverse().slice(0,200).map(r=>l`<tr><td>${r.time.replace("T"," ").slice(0,19)}</td><td aria-label=${r.level}>${Tt[r.level]??""}</td><td>${k(r.name)}${r.message?l`: <bdi>${r.message}</bdi>`:h}</td></tr>`)}
          </tbody>
        </table>
      </section>
    `}alarm(e){return l`<article class=${e.level}>
      <header><b>${Tt[e.level]} ${k(e.name)}</b><span>${e.level} since ${e.since.replace("T"," ").slice(0,19)}</span></header>
      <p><bdi>${e.message}</bdi></p>
      <p class="dim">${e.advice}</p>
    </article>`}};ae.styles=[f,p`
      :host { height: 100%; overflow-y: auto; scrollbar-color: var(--edge) transparent; }
      section { display: grid; gap: 0.5rem; padding-bottom: 1rem; }
      article { background: var(--raised); border-left: 0.25rem solid var(--edge); padding: 0.6rem 0.75rem; display: grid; gap: 0.25rem; border-radius: 0 var(--round) var(--round) 0; }
      article.warning, article.error { border-color: var(--amber); }
      article header { display: flex; gap: 0.6rem; align-items: baseline; }
      header b { color: var(--bright); }
      .warning header b, .error header b { color: var(--amber); }
      header span { margin-left: auto; font-size: 0.75rem; color: var(--dim); white-space: nowrap; }
      p { margin: 0; font-size: 0.9375rem; }
      .calm { color: var(--dim); padding: 0.75rem 0; }
      table { width: 100%; border-collapse: collapse; font-size: 0.8125rem; }
      td { padding: 0.25rem 0.5rem 0.25rem 0; vertical-align: top; border-bottom: 1px solid var(--line); }
      td:first-child { white-space: nowrap; color: var(--dim); }
    `],n([v()],ae.prototype,"history",2),n([v()],ae.prototype,"problem",2),ae=n([u("xp-alarms")],ae);var cr={index:"as recorded",name:"by name",frames:"by length"},z=class extends b{constructor(){super(...arguments);this.clips=[];this.problem="";this.search="";this.order="index";this.falling=!0;this.chosen=new Set;this.top=0;this.tall=400;this.anchor=0;this.known="";this.reading=!1;this.observer=new ResizeObserver(()=>this.tall=this.rows?.clientHeight??400)}connectedCallback(){super.connectedCallback(),this.read()}disconnectedCallback(){super.disconnectedCallback(),this.observer.disconnect()}firstUpdated(){this.observer.observe(this.rows)}get rowHeight(){return 3.5*parseFloat(getComputedStyle(document.documentElement).fontSize)}async read(){if(this.reading)return;this.reading=!0;let e=[];for(;;){let r=await X(`clips?offset=${e.length}&limit=1000`);if(r instanceof M){this.problem=r.sentence;break}if(this.problem="",e.push(...r.clips),r.clips.length===0||e.length>=r.total)break}this.reading=!1,this.problem||(this.clips=e)}willUpdate(){let e=this.deck.state,r=e?[e.path,e.list_revision,e.status==="recording",e.media.map(i=>i.clips).join()].join():"";r!==this.known&&(this.known=r,this.read())}get sorted(){let e=this.search.trim().toLowerCase(),r=e?this.clips.filter(o=>o.name.toLowerCase().includes(e)):[...this.clips],i=this.order;return r.sort((o,a)=>i==="name"?o.name<a.name?-1:1:o[i]-a[i]),this.falling?r.reverse():r}choose(e,r,i){let o=r[i].name;if(e.shiftKey){let[a,d]=[Math.min(this.anchor,i),Math.max(this.anchor,i)];this.chosen=new Set(r.slice(a,d+1).map(c=>c.name))}else if(e.ctrlKey||e.metaKey){let a=new Set(this.chosen);a.delete(o)||a.add(o),this.chosen=a,this.anchor=i}else this.chosen=new Set([o]),this.anchor=i}keydown(e,r){let i={ArrowDown:1,ArrowUp:-1,PageDown:10,PageUp:-10}[e.key];if(e.key==="Enter"&&this.chosen.size&&(e.preventDefault(),e.stopPropagation(),this.deck.run("clip",{name:[...this.chosen][0]})),i===void 0||!r.length)return;e.preventDefault(),e.stopPropagation();let o=Math.min(r.length-1,Math.max(0,this.anchor+i));this.chosen=new Set([r[o].name]),this.anchor=o;let a=o*this.rowHeight;a<this.rows.scrollTop&&(this.rows.scrollTop=a),a+this.rowHeight>this.rows.scrollTop+this.tall&&(this.rows.scrollTop=a+this.rowHeight-this.tall)}async each(e){for(let r of this.chosen)if(!(await this.deck.run(e,{clip:r})).done)return;this.read()}drag(e,r){this.chosen.has(r)||(this.chosen=new Set([r])),e.dataTransfer?.setData("application/x-xp-clips",JSON.stringify([...this.chosen])),this.dispatchEvent(new CustomEvent("xp-dragclips",{bubbles:!0,composed:!0}))}updated(){let e=this.rowHeight;this.renderRoot.querySelector(".room")?.style.setProperty("height",`${this.sorted.length*e}px`);for(let r of this.renderRoot.querySelectorAll(".row"))r.style.setProperty("top",`${Number(r.dataset.at)*e}px`)}view(){let e=this.sorted,r=this.rowHeight,i=Math.max(0,Math.floor(this.top/r)-3),o=Math.min(e.length,Math.ceil((this.top+this.tall)/r)+3),a=this.chosen.size>0;return l`
      <div class="tools">
        <input type="search" aria-label="Search clips" placeholder="Search ${this.clips.length} clips" .value=${this.search} @input=${d=>this.search=d.target.value} />
        <select aria-label="Sort" @change=${d=>this.order=d.target.value}>
          ${Object.entries(cr).map(([d,c])=>l`<option value=${d} ?selected=${d===this.order}>${c}</option>`)}
        </select>
        <button class="small" aria-label=${this.falling?"Last first":"First first"} title=${this.falling?"Last first":"First first"} @click=${()=>this.falling=!this.falling}>${this.falling?"↓":"↑"}</button>
      </div>
      <div class="rows" role="listbox" aria-label="Clips" aria-multiselectable="true" tabindex="0" @scroll=${d=>this.top=d.target.scrollTop} @keydown=${d=>this.keydown(d,e)}>
        ${this.problem?l`<p role="alert">${this.problem}</p>`:h}
        ${e.length===0&&!this.problem?l`<p class="empty">${this.search?"No clip of this name.":"No clips yet. Record one."}</p>`:h}
        <div class="room">${e.slice(i,o).map((d,c)=>this.row(d,i+c,e))}</div>
      </div>
      <div class="acts">
        <button class="small" ?disabled=${this.chosen.size!==1} @click=${()=>{this.deck.run("clip",{name:[...this.chosen][0]})}}>Open</button>
        <button class="small" ?disabled=${!a} @click=${()=>this.dispatchEvent(new CustomEvent("xp-add",{detail:[...this.chosen],bubbles:!0,composed:!0}))}>Add to list</button>
        <button class="small" ?disabled=${!a} @click=${()=>{this.each("protect")}}>Protect</button>
        <button class="small" ?disabled=${!a} @click=${()=>{this.each("unprotect")}}>Unprotect</button>
        <span class="dim">${this.chosen.size>1?`${this.chosen.size} chosen`:`${e.length} clips`}</span>
      </div>
    `}row(e,r,i){let o=e.name===this.deck.state?.clip;return l`<div class="row ${o?"current":""}" role="option" aria-selected=${this.chosen.has(e.name)?"true":"false"} aria-setsize=${i.length} aria-posinset=${r+1}
      data-at=${r} draggable="true" title=${e.name} @click=${a=>this.choose(a,i,r)} @dblclick=${()=>{this.deck.run("clip",{name:e.name})}}
      @dragstart=${a=>this.drag(a,e.name)}>
      <img alt="" loading="lazy" draggable="false" src=${Le(`clips/${encodeURIComponent(e.name)}/thumbnail`)} @error=${a=>a.target.removeAttribute("src")} />
      <div class="cut">
        <div class="name cut"><bdi>${e.name}</bdi></div>
        <div class="sub"><span>${e.timecode??""}</span><span>${e.bytes?Se(e.bytes):""}</span>${e.protected?l`<span>protected</span>`:h}${o?l`<span>on the deck</span>`:h}</div>
      </div>
      <div class="frames figure">${Y(e.frames,this.deck.state?.rate??25)}</div>
    </div>`}};z.styles=[f,p`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto auto; gap: 0.25rem; }
      .rows { overflow-y: auto; position: relative; border-radius: var(--round); scrollbar-color: var(--edge) transparent; min-height: 8rem; }
      .room { position: relative; }
      .row { position: absolute; left: 0; right: 0; height: 3.5rem; display: grid; grid-template-columns: 5rem minmax(0, 1fr) auto; gap: 0.6rem; align-items: center; padding: 0 0.5rem 0 0.25rem; border-bottom: 1px solid var(--line); cursor: default; }
      .row[aria-selected="true"] { background: var(--lifted); }
      .row.current { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      img, .none { width: 5rem; height: 2.8125rem; object-fit: contain; background: #000; display: block; border-radius: 2px; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .sub { font-size: 0.75rem; color: var(--dim); display: flex; gap: 0.75rem; }
      .frames { font-size: 0.875rem; }
      .acts { display: flex; flex-wrap: wrap; gap: 0.25rem; align-items: center; min-height: 2rem; }
      .acts .dim { margin-left: auto; font-size: 0.8125rem; }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],n([v()],z.prototype,"clips",2),n([v()],z.prototype,"problem",2),n([v()],z.prototype,"search",2),n([v()],z.prototype,"order",2),n([v()],z.prototype,"falling",2),n([v()],z.prototype,"chosen",2),n([v()],z.prototype,"top",2),n([v()],z.prototype,"tall",2),n([E(".rows")],z.prototype,"rows",2),z=n([u("xp-clips")],z);var hr=["take_control","release_control","lock","unlock","remote","local"],Ae=class extends b{theme(t){document.documentElement.dataset.theme=t,localStorage.setItem("xp-theme",t),this.requestUpdate()}view(){let t=this.deck.state,e=t?.owner?.name,r=document.documentElement.dataset.theme??"dark";return l`
      <section>
        <h2>Who is in control</h2>
        <p>${e?l`<b><bdi>${e}</bdi></b> (${t?.owner.front}${t?.owner.address?`, ${t.owner.address}`:""})`:"Nobody has taken control: everybody may operate."}</p>
        <p class="dim">${t?.lock?.name?l`Locked by <bdi>${t.lock.name}</bdi>.`:h} ${t?.mode==="local"?"Switched to local: only who sits at the machine operates.":h}</p>
        <div class="acts">${hr.map(i=>this.deck.verb(i)).map(i=>i?l`<button title=${i.help} ?disabled=${this.deck.stale} @click=${()=>{this.deck.run(i.name)}}>${k(i.name)}</button>`:h)}</div>
      </section>
      <section>
        <h2>This session</h2>
        <p>${O()?"It has a token.":"It has no token: without one this page may only watch."}</p>
        <form @submit=${this.enter}>
          <input type="password" aria-label="Token" autocomplete="off" placeholder="Token, from /run/xp/panel.token" /><button>Use</button>
        </form>
      </section>
      <section>
        <h2>Look</h2>
        <div class="acts">
          ${["dark","contrast"].map(i=>l`<button aria-pressed=${r===i?"true":"false"} @click=${()=>this.theme(i)}>${i==="dark"?"Dark":"High contrast"}</button>`)}
          <button @click=${()=>location.hash="#/kiosk"}>Picture and timecode alone</button>
        </div>
      </section>
      <section>
        <h2>Keys and programs</h2>
        <p class="dim">Key ? shows the map of keys, and each verb's form for HTTP, lines, OSC and the shell.</p>
      </section>
    `}enter(t){t.preventDefault();let e=this.renderRoot.querySelector("input");e?.value&&(lt(e.value.trim()),location.reload())}};Ae.styles=[f,p`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 1.25rem; }
      section { display: grid; gap: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      p { margin: 0; }
      form { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0.25rem; }
      [aria-pressed="true"] { background: var(--bright); color: var(--on-bright); }
    `],Ae=n([u("xp-control")],Ae);var F=class extends b{constructor(){super(...arguments);this.entries=[];this.problem="";this.chosen=-1;this.over=-1;this.revision="";this.known=null}willUpdate(){let e=this.deck.state?.list_revision??"";e!==this.known&&(this.known=e,this.read())}async read(){let e=await Q("GET","list");if(e instanceof M){this.problem=e.sentence;return}this.revision=e.headers.get("ETag")??"",this.entries=(await e.json()).list,this.problem=""}async add(e,r=this.entries.length){let i=this.entries.map(o=>o.name);i.splice(r,0,...e),await this.write(i)}async write(e){let r=await Q("PUT","list",{list:e},this.revision?{"If-Match":this.revision}:{});if(r instanceof M){let i=r.status===412;this.deck.tell({kind:"refused",title:"Play list",text:i?"Somebody else has changed the list meanwhile; here it is as it is now.":`${r.sentence} ${r.hint}`})}await this.read()}async move(e,r){if(e<0||r<0||r>this.entries.length-1||e===r)return;let i=this.entries.map(o=>o.name);i.splice(r,0,...i.splice(e,1)),this.chosen=r,await this.write(i)}drop(e,r){e.preventDefault(),e.stopPropagation(),this.over=-1;let i=e.dataTransfer?.getData("application/x-xp-clips"),o=e.dataTransfer?.getData("application/x-xp-place");i?this.add(JSON.parse(i),r):o&&this.move(Number(o),Number(o)<r?r-1:r)}hover(e,r){e.preventDefault(),e.stopPropagation(),this.over=r}keydown(e){let r={ArrowDown:1,ArrowUp:-1}[e.key];r!==void 0?(e.preventDefault(),e.stopPropagation(),e.altKey?this.move(this.chosen,this.chosen+r):this.chosen=Math.min(this.entries.length-1,Math.max(0,this.chosen+r))):e.key==="Delete"&&this.takeOut()}async takeOut(){this.chosen<0||(await this.write(this.entries.filter((e,r)=>r!==this.chosen).map(e=>e.name)),this.chosen=Math.min(this.chosen,this.entries.length-1))}view(){let e=this.deck.parameters.get("playback_source"),r=this.deck.state?.playback_source??e?.value;return l`
      <div class="acts" role="group" aria-label="What is played">
        ${(e?.choices??[]).map(i=>l`<button class="small" aria-pressed=${i===r?"true":"false"} @click=${()=>{this.deck.set("playback_source",i)}}>${i===r?"● ":""}${i.replaceAll("_"," ")}</button>`)}
      </div>
      <div class="rows ${this.over===this.entries.length?"over":""}" role="listbox" aria-label="Play list" tabindex="0" @keydown=${this.keydown}
        @dragover=${i=>this.hover(i,this.entries.length)} @dragleave=${()=>this.over=-1} @drop=${i=>this.drop(i,this.entries.length)}>
        ${this.problem?l`<p role="alert">${this.problem}</p>`:h}
        ${this.entries.length===0?l`<p class="empty">The list is empty. Drag clips here, or use “Add to list”.</p>`:h}
        ${this.entries.map((i,o)=>l`<div role="option" class=${this.over===o?"over":""} aria-selected=${o===this.chosen?"true":"false"} draggable="true" title=${i.name}
            @click=${()=>this.chosen=o} @dragstart=${a=>a.dataTransfer?.setData("application/x-xp-place",String(o))}
            @dragover=${a=>this.hover(a,o)} @drop=${a=>this.drop(a,o)}>
            <span class="place figure">${o+1}</span><span class="name cut"><bdi>${i.name}</bdi></span>${i.present?h:l`<span class="missing">! not here</span>`}
          </div>`)}
      </div>
      <div class="acts">
        <button class="small" ?disabled=${this.chosen<1} @click=${()=>{this.move(this.chosen,this.chosen-1)}}>Up</button>
        <button class="small" ?disabled=${this.chosen<0||this.chosen>=this.entries.length-1} @click=${()=>{this.move(this.chosen,this.chosen+1)}}>Down</button>
        <button class="small" ?disabled=${this.chosen<0} @click=${()=>{this.takeOut()}}>Take out</button>
      </div>
    `}};F.styles=[f,p`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .rows { overflow-y: auto; margin: 0; padding: 0; list-style: none; min-height: 8rem; border-radius: var(--round); }
      .rows.over { outline: 2px dashed var(--edge); outline-offset: -2px; }
      [role="option"] { display: grid; grid-template-columns: 2.5rem minmax(0, 1fr) auto; align-items: center; min-height: 2.75rem; padding: 0 0.5rem 0 0; border-bottom: 1px solid var(--line); border-top: 2px solid transparent; }
      [role="option"][aria-selected="true"] { background: var(--lifted); }
      [role="option"].over { border-top-color: var(--bright); }
      .place { color: var(--dim); text-align: right; padding-right: 0.75rem; font-size: 0.8125rem; }
      .name { color: var(--bright); unicode-bidi: plaintext; text-align: left; }
      .missing { color: var(--amber); font-size: 0.8125rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],n([v()],F.prototype,"entries",2),n([v()],F.prototype,"problem",2),n([v()],F.prototype,"chosen",2),n([v()],F.prototype,"over",2),F=n([u("xp-list")],F);var Ct="xp-marks",pr=500,ce=class extends b{constructor(){super(...arguments);this.marks=mr()}add(e){let r=this.deck.state;if(!r?.clip)return;let i=C(r)?r.clip_frames:r.frame;this.keep([{clip:r.clip,frame:Math.max(0,i),timecode:e,note:""},...this.marks].slice(0,pr))}keep(e){this.marks=e,localStorage.setItem(Ct,JSON.stringify(e))}async go(e){this.deck.state?.clip!==e.clip&&!(await this.deck.run("clip",{name:e.clip})).done||await this.deck.run("cue",{where:String(e.frame)})}view(){return l`
      <div class="head"><button @click=${()=>this.dispatchEvent(new CustomEvent("xp-mark",{bubbles:!0,composed:!0}))}>Mark this frame</button><span class="dim">Kept in this browser</span></div>
      <div class="rows" tabindex="0" role="region" aria-label="Marks">
        ${this.marks.length===0?l`<p class="empty">No marks. Key M sets one at the frame that is shown.</p>`:""}
        ${this.marks.map((e,r)=>l`<div class="row">
            <button class="figure" title="Go there" @click=${()=>{this.go(e)}}>${e.timecode}</button>
            <input aria-label="Note at ${e.timecode}" placeholder="Note" .value=${e.note} @change=${i=>this.keep(this.marks.map((o,a)=>a===r?{...o,note:i.target.value}:o))} />
            <button class="small" aria-label="Take mark ${e.timecode} away" @click=${()=>this.keep(this.marks.filter((i,o)=>o!==r))}>✕</button>
            <span class="clip cut"><bdi>${e.clip}</bdi>, frame ${e.frame}</span>
          </div>`)}
      </div>
    `}};ce.styles=[f,p`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr); gap: var(--gap); height: 100%; min-height: 0; }
      .head { display: flex; gap: 0.5rem; align-items: center; }
      .rows { overflow-y: auto; }
      .row { display: grid; grid-template-columns: auto minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; padding: 0.25rem 0; border-bottom: 1px solid var(--line); }
      .row input { width: 100%; }
      .clip { grid-column: 1 / -1; font-size: 0.75rem; color: var(--dim); }
      .empty { padding: 2rem 1rem; text-align: center; color: var(--dim); }
    `],n([v()],ce.prototype,"marks",2),ce=n([u("xp-marks")],ce);function mr(){try{let s=JSON.parse(localStorage.getItem(Ct)??"[]");return Array.isArray(s)?s:[]}catch{return[]}}var Rt=600,Me=class extends b{updated(){let t=this.deck.state?.media??[];this.renderRoot.querySelectorAll(".bar i").forEach((e,r)=>e.style.setProperty("transform",`scaleX(${1-(t[r]?.percent_free??0)/100})`))}view(){let t=this.deck.state,e=t?.media??[],r=t?.seconds_left??0,i=e.find(o=>o.state==="next");return l`
      <div class="sum"><span>Room in sum, at the rate of now</span><span class="figure ${r<Rt?"warn":""}">${oe(r)}</span></div>
      ${e.map(o=>this.medium(o))}
      ${e.length===0?l`<p role="alert">No medium: nothing can be recorded.</p>`:h}
      <p class="dim">${i?l`When the active medium is full, a take goes on on <b>${i.label||i.path}</b>.`:"No medium comes next: a take ends when the active one is full."}</p>
    `}medium(t){let e=t.seconds_left<Rt&&t.state!=="read_only";return l`<article class=${t.state}>
      <header><b><bdi>${t.label||t.path}</bdi></b><span>${k(t.state)}</span><span class="figure ${e?"warn":""}">${oe(t.seconds_left)}</span></header>
      <div class="bar ${e?"warn":""}" role="img" aria-label="${(100-t.percent_free).toFixed(0)} percent used"><i></i></div>
      <div class="sub"><span>${Se(t.bytes_free)} free of ${Se(t.bytes_total)}</span><span>${t.clips} clips</span><span><bdi>${t.path}</bdi></span></div>
    </article>`}};Me.styles=[f,p`
      :host { height: 100%; overflow-y: auto; display: grid; align-content: start; gap: 0.5rem; }
      .sum { display: flex; justify-content: space-between; align-items: baseline; padding: 0.25rem 0 0.5rem; }
      .sum .figure { font-size: 1.5rem; color: var(--bright); }
      .warn, .warn.figure { color: var(--amber) !important; }
      article { background: var(--raised); border-radius: var(--round); padding: 0.75rem; display: grid; gap: 0.5rem; }
      article.active { box-shadow: inset 0.1875rem 0 0 var(--bright); }
      header { display: flex; gap: 0.75rem; align-items: baseline; }
      header b { color: var(--bright); font-size: 1.125rem; }
      header .figure { margin-left: auto; font-size: 1.125rem; color: var(--bright); }
      .bar { height: 0.5rem; background: var(--ground); position: relative; }
      .bar i { position: absolute; inset: 0; background: var(--text); transform-origin: left; }
      .bar.warn i { background: var(--amber); }
      .sub { display: flex; flex-wrap: wrap; gap: 0.25rem 1.25rem; font-size: 0.8125rem; color: var(--dim); }
    `],Me=n([u("xp-media")],Me);var K=class extends b{constructor(){super(...arguments);this.target="";this.search="";this.changedOnly=!1;this.text=null}get rows(){let e=this.search.trim().toLowerCase();return[...this.deck.parameters.values()].filter(r=>!r.told&&r.keep!=="command"&&(!this.changedOnly||r.value!==r.default)&&(!e||`${r.name} ${k(r.name)} ${r.help}`.toLowerCase().includes(e)))}updated(e){e.has("target")&&this.renderRoot.querySelector(".target")?.scrollIntoView({block:"center"})}async write(e,r){await this.deck.set(e.name,r),await this.deck.readParameters()}async apply(){for(let e of(this.text??"").split(`
`)){let r=/^\s*([a-z0-9_]+)\s*=\s?(.*)$/.exec(e);if(!(!r||this.deck.parameters.get(r[1])?.value===r[2])&&!(await this.deck.set(r[1],r[2])).done)return}this.text=null,await this.deck.readParameters()}view(){let e=this.rows;return l`
      <div class="tools">
        <input type="search" aria-label="Search settings" placeholder="Search settings" .value=${this.search} @input=${r=>this.search=r.target.value} />
        <label><input type="checkbox" .checked=${this.changedOnly} @change=${r=>this.changedOnly=r.target.checked} />changed</label>
      </div>
      ${this.text===null?l`<div class="rows" role="region" tabindex="0" aria-label="Settings">${e.map(r=>this.row(r))}${e.length?h:l`<p class="dim">No setting of this kind.</p>`}</div>`:l`<textarea aria-label="Settings as text" spellcheck="false" .value=${this.text} @input=${r=>this.text=r.target.value}></textarea>`}
      <div class="acts">
        ${this.text===null?l`<button class="small" @click=${()=>this.text=e.map(r=>`${r.name} = ${r.value}`).join(`
`)}>As text</button>`:l`<button class="small" @click=${()=>{this.apply()}}>Set all of these</button><button class="small" @click=${()=>this.text=null}>Leave</button>`}
      </div>
    `}row(e){let r=e.value!==e.default;return l`<div class="row ${e.name===this.target?"target":""}" id=${e.name}>
      <div class="name cut" title=${e.name}>${k(e.name)}${e.unit?l` <span class="dim">(${e.unit})</span>`:h}</div>
      ${this.field(e)}
      <div class="help">${e.help}
        ${r?l`<span class="differs">Differs from ${e.default||"empty"}<button @click=${()=>{this.write(e,e.default)}}>Back to it</button></span>`:h}
      </div>
    </div>`}field(e){let r=i=>{this.write(e,i.target.value)};return e.choices?.length?l`<select aria-label=${k(e.name)} .value=${e.value} @change=${r}>${e.choices.map(i=>l`<option value=${i} ?selected=${i===e.value}>${k(i)}</option>`)}</select>`:e.minimum!==void 0?l`<input type="number" aria-label=${k(e.name)} min=${e.minimum} max=${e.maximum??h} .value=${e.value} @change=${r} />`:l`<input type="text" aria-label=${k(e.name)} spellcheck="false" .value=${e.value} @change=${r} />`}};K.styles=[f,p`
      :host { display: grid; grid-template-rows: auto minmax(0, 1fr) auto; gap: var(--gap); height: 100%; min-height: 0; }
      .tools { display: grid; grid-template-columns: minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; }
      label { font-size: 0.8125rem; display: flex; gap: 0.4rem; align-items: center; min-height: 2.25rem; }
      input[type="checkbox"] { width: 1.1rem; height: 1.1rem; min-height: 0; accent-color: var(--text); }
      .rows { overflow-y: auto; scrollbar-color: var(--edge) transparent; min-height: 8rem; }
      .row { display: grid; grid-template-columns: minmax(0, 1fr) 11rem; gap: 0.1rem 0.75rem; padding: 0.5rem 0.25rem; border-bottom: 1px solid var(--line); align-items: center; }
      .row.target { background: var(--lifted); }
      .row .name { color: var(--bright); }
      .row .help { grid-column: 1 / -1; font-size: 0.75rem; color: var(--dim); }
      .row select, .row input { width: 100%; }
      .differs { font-size: 0.75rem; color: var(--text); }
      .differs button { min-height: 1.5rem; padding: 0 0.4rem; font-size: 0.75rem; margin-left: 0.4rem; }
      textarea { width: 100%; height: 100%; resize: none; font-family: ui-monospace, monospace; font-size: 0.8125rem; padding: 0.5rem; }
      .acts { display: flex; gap: 0.25rem; flex-wrap: wrap; }
    `],n([m()],K.prototype,"target",2),n([v()],K.prototype,"search",2),n([v()],K.prototype,"changedOnly",2),n([v()],K.prototype,"text",2),K=n([u("xp-settings")],K);var he=["clips","list","marks","media","settings","alarms","control"],W=class extends b{constructor(){super(...arguments);this.chosen="clips";this.detail="";this.moved=()=>{let[e,...r]=location.hash.replace(/^#\//,"").split("/");he.includes(e)&&(this.chosen=e,this.detail=decodeURIComponent(r.join("/")))}}connectedCallback(){super.connectedCallback(),addEventListener("hashchange",this.moved),this.addEventListener("xp-add",e=>{this.add(e.detail)}),this.addEventListener("xp-dragclips",()=>this.dragged()),this.moved()}disconnectedCallback(){super.disconnectedCallback(),removeEventListener("hashchange",this.moved)}go(e){location.hash=`#/${e}`}turn(e){this.go(he[(he.indexOf(this.chosen)+e+he.length)%he.length])}mark(e){this.go("marks"),this.chosen="marks",this.updateComplete.then(()=>this.marks?.add(e))}async add(e){this.go("list"),this.chosen="list",await this.updateComplete,await this.list?.read(),await this.list?.add(e)}dragged(){this.renderRoot.querySelector("#tab-list")?.addEventListener("dragenter",()=>this.go("list"),{once:!0})}keydown(e){let r={ArrowRight:1,ArrowLeft:-1}[e.key];r!==void 0&&(e.preventDefault(),e.stopPropagation(),this.turn(r),this.updateComplete.then(()=>this.renderRoot.querySelector('[aria-selected="true"]')?.focus()))}view(){let e=this.deck.state?.alarms??0;return l`<div class="whole">
      <button class="close" @click=${()=>this.dispatchEvent(new Event("xp-close"))}>Back to the deck</button>
      <div class="tabs" role="tablist" aria-label="Views" @keydown=${this.keydown}>
        ${he.map(r=>l`<button role="tab" id="tab-${r}" aria-controls="body" aria-selected=${r===this.chosen?"true":"false"} tabindex=${r===this.chosen?0:-1} class=${r==="alarms"&&e?"up":""} @click=${()=>this.go(r)}>
            ${r.charAt(0).toUpperCase()+r.slice(1)}${r==="alarms"&&e?l` <b>! ${e}</b>`:h}
          </button>`)}
      </div>
      <div class="body" id="body" role="tabpanel" aria-labelledby="tab-${this.chosen}">${this.body()}</div>
    </div>`}body(){let{deck:e}=this;switch(this.chosen){case"clips":return l`<xp-clips .deck=${e}></xp-clips>`;case"list":return l`<xp-list .deck=${e}></xp-list>`;case"marks":return l`<xp-marks .deck=${e}></xp-marks>`;case"media":return l`<xp-media .deck=${e}></xp-media>`;case"settings":return l`<xp-settings .deck=${e} target=${this.detail}></xp-settings>`;case"alarms":return l`<xp-alarms .deck=${e}></xp-alarms>`;case"control":return l`<xp-control .deck=${e}></xp-control>`}}};W.styles=[f,p`
      :host { background: var(--panel); border-radius: var(--round); }
      .whole { display: grid; grid-template-rows: auto minmax(0, 1fr); height: 100%; }
      .tabs { display: grid; grid-auto-flow: column; grid-auto-columns: minmax(0, auto); border-bottom: 1px solid var(--line); }
      .tabs button { border: 0; background: transparent; padding: 0 0.2rem; border-radius: 0; font-size: 0.8125rem; border-bottom: 0.1875rem solid transparent; color: var(--dim); }
      .tabs button[aria-selected="true"] { color: var(--bright); border-bottom-color: var(--bright); }
      .tabs .up { color: var(--amber); }
      .body { padding: 0.75rem; min-height: 0; overflow: hidden; }
      .close { display: none; }
      @media (max-width: 759px) {
        :host { border-radius: 0; }
        .whole { grid-template-rows: auto auto minmax(0, 1fr); }
        .tabs { grid-auto-flow: row; grid-template-columns: repeat(4, 1fr); }
        .close { display: block; width: 100%; min-height: 3rem; border-radius: 0; }
      }
    `],n([v()],W.prototype,"chosen",2),n([v()],W.prototype,"detail",2),n([E("xp-list")],W.prototype,"list",2),n([E("xp-marks")],W.prototype,"marks",2),W=n([u("xp-column")],W);var st=60,je=4,D=class extends A{constructor(){super(...arguments);this.label="";this.unit="";this.value=null;this.warnAbove=1/0;this.past=[];this.timer=0}connectedCallback(){super.connectedCallback(),this.timer=window.setInterval(()=>this.sample(),1e3/je)}disconnectedCallback(){super.disconnectedCallback(),clearInterval(this.timer)}sample(){this.past.push(this.deck.stale?null:this.value),this.past.length>st*je&&this.past.shift(),this.draw()}draw(){let e=this.canvas?.getContext("2d");if(!e||!this.clientWidth)return;let r=window.devicePixelRatio,i=Math.round(this.clientWidth*r),o=Math.round(this.clientHeight*r);(this.canvas.width!==i||this.canvas.height!==o)&&([this.canvas.width,this.canvas.height]=[i,o]);let a=getComputedStyle(this);e.clearRect(0,0,i,o);let d=Number.isFinite(this.warnAbove)?this.warnAbove*1.25:1,c=Math.max(d,...this.past.map(g=>g??0)),$=i/(st*je),y=st*je-this.past.length;this.past.forEach((g,x)=>{if(g===null)return;let P=Math.max(r,g/c*(o-2*r));e.fillStyle=a.getPropertyValue(g>this.warnAbove?"--amber":"--edge"),e.globalAlpha=g>this.warnAbove?.75:.55,e.fillRect((y+x)*$,o-P,Math.ceil($),P)}),e.globalAlpha=1}render(){let e=(this.value??0)>this.warnAbove,r=this.value===null?"-":this.value>=100||Number.isInteger(this.value)?this.value.toFixed(0):this.value.toFixed(1);return l`<canvas aria-hidden="true"></canvas>
      <div class="over ${e?"warn":""}"><div class="label">${this.label}</div><div class="figure">${e?"! ":""}${r} <small>${this.unit}</small></div></div>`}};D.styles=[f,p`
      :host { display: block; position: relative; min-width: 0; }
      canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
      .over { position: relative; padding: 0.35rem 0.75rem; display: grid; gap: 0.1rem; align-content: center; height: 100%; white-space: nowrap; pointer-events: none; }
      .figure { font-size: 0.9375rem; line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      small { font-weight: 400; font-size: 0.6875rem; color: var(--dim); }
    `],n([m()],D.prototype,"label",2),n([m()],D.prototype,"unit",2),n([m({attribute:!1})],D.prototype,"value",2),n([m({attribute:!1})],D.prototype,"warnAbove",2),n([m({attribute:!1})],D.prototype,"deck",2),n([E("canvas")],D.prototype,"canvas",2),D=n([u("xp-chart")],D);var pe=class extends b{constructor(){super(...arguments);this.delay=null}cell(e,r,i=!1,o=""){return l`<div class="cell ${i?"warn":""} ${o}"><div class="label">${e}</div><div class="figure">${i?"! ":h}${r}</div></div>`}view(){let{state:e,counters:r}=this.deck,i=!!e&&e.seconds_left>0&&e.seconds_left<600,o=(e?.dropped_capture??0)+(e?.dropped_playback??0),a=e?.owner?.name;return l`<div class="strip" role="group" aria-label="Health">
      ${this.deck.stale?this.cell("Link",`silent ${(this.deck.silence/1e3).toFixed(1)} s`,!0):this.cell("Lens to screen",this.delay===null?"-":`${Math.round(this.delay)} ms`,(this.delay??0)>250)}
      ${this.cell("Room",e?oe(e.seconds_left):"-",i)}
      ${this.cell("Lost frames",o,o>0)}
      <xp-chart label="Writer queue" unit="frames" .value=${r.writer_queue??null} .warnAbove=${24} .deck=${this.deck}></xp-chart>
      <xp-chart label="Write latency p99" unit="ms" .value=${r.write_latency_p99===void 0?null:r.write_latency_p99/1e3} .warnAbove=${250} .deck=${this.deck}></xp-chart>
      <xp-chart class="optional" label="Frames lost" unit="" .value=${e?o:null} .warnAbove=${.5} .deck=${this.deck}></xp-chart>
      ${this.cell("In control",a?l`<bdi>${a}</bdi>`:"everybody")}
    </div>`}};pe.styles=[f,p`
      :host { background: var(--panel); border-radius: var(--round); min-width: 0; }
      .strip { display: flex; height: 100%; align-items: stretch; overflow: hidden; }
      .cell { padding: 0.35rem 0.75rem; display: grid; align-content: center; gap: 0.1rem; border-right: 1px solid var(--line); min-width: 0; white-space: nowrap; }
      .cell:last-child { border-right: 0; margin-left: auto; }
      .figure { font-size: 0.9375rem; line-height: 1.1; color: var(--bright); }
      .warn .figure, .warn .label { color: var(--amber); }
      xp-chart { flex: 1 1 8rem; min-width: 6.5rem; border-right: 1px solid var(--line); }
      @media (max-width: 1100px) { .optional { display: none; } }
      @media (max-width: 759px) {
        .strip { display: grid; grid-template-columns: 1fr 1fr; height: auto; }
        .cell, .cell:last-child { border: 0; margin: 0; overflow: hidden; }
        xp-chart { border: 0; height: 3rem; }
      }
    `],n([m({attribute:!1})],pe.prototype,"delay",2),pe=n([u("xp-health")],pe);var Lt=[{keys:"R",verb:"record",text:""},{keys:"S",verb:"stop",text:"; in a take hold it for a second"},{keys:"L",verb:"play",text:"; again: twice as fast"},{keys:"J",verb:"play",text:", backwards; again: twice as fast"},{keys:"K",verb:"still",text:""},{keys:"K + L, K + J",verb:"play",text:", at a quarter of the speed"},{keys:"Space",verb:"still",text:", or play on"},{keys:"← →",verb:"step",text:": one"},{keys:"Shift ← →",verb:"step",text:": ten"},{keys:"Home, End",verb:"cue",text:": the first, the last"},{keys:"C",verb:"cue",text:": type where"},{keys:"[ ]",verb:"prev",text:", or to the next"},{keys:"M",verb:"",text:"mark the frame that is shown"},{keys:"F",verb:"",text:"picture and timecode alone, and back"},{keys:"?",verb:"",text:"this map"}],ur=.25;function zt(s,t){let e=new Set,r=()=>s.state&&s.state.status!=="stopped"?s.state.speed:0,i=0,o=w=>{if(e.has("k"))return s.speed(w*ur);let _=Math.sign(i)===w?i:r(),H=Math.sign(_)===w&&Math.abs(_)>=1?Math.min(64,Math.abs(_)*2):1;i=w*H,s.speed(i)},a=()=>{i=0,s.speed(0)},d=w=>{s.run("cue",{where:String(Math.max(0,w))})},c={r:()=>{s.run("record")},s:()=>t.holdStop(),l:()=>o(1),j:()=>o(-1),k:a," ":()=>C(s.state)?t.holdStop():r()!==0?a():o(1),arrowleft:w=>s.steps(w.shiftKey?-10:-1),arrowright:w=>s.steps(w.shiftKey?10:1),home:()=>d(0),end:()=>d((s.state?.length??1)-1),"[":()=>{s.run("prev")},"]":()=>{s.run("next")},c:()=>t.focusTimecode(),m:()=>t.mark(),f:()=>t.kiosk(),"?":()=>t.help()},$=new Set(["arrowleft","arrowright"]),y=w=>{let _=w.composedPath()[0];return _ instanceof HTMLInputElement||_ instanceof HTMLTextAreaElement||_ instanceof HTMLSelectElement},g=w=>{if(w.ctrlKey||w.metaKey||w.altKey||y(w))return;let _=w.key.toLowerCase(),H=c[_];H&&(w.preventDefault(),!(w.repeat&&!$.has(_))&&(e.add(_),H(w)))},x=w=>{let _=w.key.toLowerCase();e.delete(_),(_==="s"||_===" ")&&t.releaseStop(),(_==="j"||_==="l")&&e.has("k")&&a()},P=()=>{e.clear(),t.releaseStop()};return window.addEventListener("keydown",g),window.addEventListener("keyup",x),window.addEventListener("blur",P),()=>{window.removeEventListener("keydown",g),window.removeEventListener("keyup",x),window.removeEventListener("blur",P)}}var Nt={http:"HTTP",line:"Line",osc:"OSC",shell:"Shell"},ne=class extends b{constructor(){super(...arguments);this.only=""}show(e){this.only=e,this.updateComplete.then(()=>this.dialog.open||this.dialog.showModal())}copy(e){let r=e.currentTarget,i=r.parentElement?.querySelector("code");if(!i)return;getSelection()?.selectAllChildren(i);let a=!1;navigator.clipboard?navigator.clipboard.writeText(i.textContent??"").catch(()=>{}):a=document.execCommand("copy"),r.textContent=navigator.clipboard||a?"Copied":"Selected"}view(){let e=this.only?this.deck.verbs.filter(r=>r.name===this.only):this.deck.verbs;return l`<dialog aria-label=${this.only?k(this.only):"Keys and verbs"} @keydown=${r=>r.stopPropagation()}>
      <header><h2>${this.only?`${k(this.only)}, from elsewhere`:"Keys and verbs"}</h2><button @click=${()=>this.dialog.close()}>Close</button></header>
      ${this.only?h:l`<dl>${Lt.filter(r=>!r.verb||this.deck.verb(r.verb)).map(r=>l`<dt>${r.keys}</dt><dd>${this.deck.verb(r.verb)?.help??""}${r.text}</dd>`)}</dl>`}
      ${e.map(r=>this.verb(r))}
    </dialog>`}verb(e){return l`<h3>${k(e.name)}</h3>
      <p>${e.help}</p>
      ${e.arguments.map(r=>l`<p class="dim">${k(r.name)}${r.unit?` (${r.unit})`:""}: ${r.help}</p>`)}
      ${Object.entries(e.forms).map(([r,i])=>l`<div class="form"><span class="dim">${Nt[r]??r}</span><code tabindex="0">${i}</code><button class="small" aria-label="Copy the ${Nt[r]??r} form of ${k(e.name)}" @click=${this.copy}>Copy</button></div>`)}`}};ne.styles=[f,p`
      dialog { background: var(--panel); color: var(--text); border: 1px solid var(--edge); border-radius: 0.5rem; padding: 1.25rem; width: min(60rem, calc(100vw - 2rem)); max-height: calc(100vh - 2rem); box-sizing: border-box; overflow-y: auto; }
      dialog::backdrop { background: rgb(0 0 0 / 0.6); }
      header { display: flex; align-items: center; gap: 1rem; position: sticky; top: 0; background: var(--panel); padding-bottom: 0.5rem; }
      header button { margin-left: auto; }
      h2 { font-size: 1.125rem; }
      h3 { font-size: 1rem; color: var(--bright); margin: 1rem 0 0.25rem; }
      dl { display: grid; grid-template-columns: auto minmax(0, 1fr) auto minmax(0, 1fr); gap: 0.35rem 1rem; margin: 0.5rem 0 1rem; font-size: 0.875rem; align-items: baseline; }
      dt { color: var(--bright); white-space: nowrap; }
      dd { margin: 0; }
      @media (max-width: 759px) { dl { grid-template-columns: auto minmax(0, 1fr); } }
      .form { display: grid; grid-template-columns: 3.5rem minmax(0, 1fr) auto; gap: 0.5rem; align-items: center; padding: 0.15rem 0; }
      code { font-family: ui-monospace, monospace; font-size: 0.8125rem; background: var(--ground); padding: 0.35rem 0.5rem; overflow-x: auto; white-space: pre; user-select: all; }
      p { margin: 0 0 0.25rem; font-size: 0.875rem; }
    `],n([m()],ne.prototype,"only",2),n([E("dialog")],ne.prototype,"dialog",2),ne=n([u("xp-help")],ne);var Pe=class extends b{view(){let t=this.deck.state,e=C(t);if(this.toggleAttribute("recording",e&&!this.deck.stale),!t)return l`<div class="head"><span class="word">Connecting</span></div>`;if(!t.running)return l`<div class="head"><span class="word" role="status">Recorder not running</span></div>`;let r=e?t.clip_frames:t.frame,i=e?oe(t.seconds_left):Y(t.length-1-t.frame,t.rate),o=t.status==="playing"&&t.speed===0,a=(d,c)=>l`<div><div class="label">${d}</div><div class="figure">${c}</div></div>`;return l`
      <div class="head">
        <span class="word" role="status">${this.word(o?"still":t.status)}</span>
        ${!e&&t.speed!==0&&t.status!=="stopped"?l`<span class="speed figure">${t.speed}×</span>`:h}
        <span class="format"><span class="dim">In</span> ${t.input_locked?t.input_format:"no signal"}<br /><span class="dim">Rec</span> ${k(t.record_codec)}</span>
      </div>
      ${t.record_inhibited&&!e?l`<div class="inhibited cut" title=${t.record_inhibited}>Cannot record: ${t.record_inhibited}</div>`:l`<div class="clip cut" title=${t.clip}>${t.clip||"no clip"}</div>`}
      <div class="fields">
        ${a(e?"Take":"Played",Y(Math.max(0,r),t.rate))}
        ${a(e?"Room left":"To the end",i)}
        ${e?a("Safe on disk",Y(t.recorded_up_to,t.rate)):a("Input timecode",t.input_timecode||"--:--:--:--")}
      </div>
    `}word(t){let e=k(t);return e.charAt(0).toUpperCase()+e.slice(1)}};Pe.styles=[f,p`
      :host { background: var(--panel); border-radius: var(--round); padding: 0.5rem 0.75rem; display: grid; grid-template-rows: auto 1fr auto; gap: 0.1rem; min-width: 0; }
      :host([recording]) { background: var(--red); color: var(--on-red); }
      :host([recording]) .dim, :host([recording]) .label, :host([recording]) .word, :host([recording]) .figure { color: var(--on-red); }
      .head { display: flex; align-items: baseline; gap: 0.75rem; min-width: 0; }
      .word { font-weight: 700; font-size: 2rem; line-height: 1.05; color: var(--bright); white-space: nowrap; letter-spacing: 0.01em; }
      .speed { font-size: 1.25rem; color: var(--bright); }
      .format { margin-left: auto; text-align: right; font-size: 0.8125rem; min-width: 0; }
      .clip { font-size: 1rem; align-self: center; color: var(--bright); unicode-bidi: plaintext; }
      :host([recording]) .clip { color: var(--on-red); }
      .fields { display: grid; grid-template-columns: repeat(3, auto); justify-content: space-between; gap: 0.75rem; }
      .fields .figure { font-size: 1.0625rem; color: var(--bright); line-height: 1.1; }
      .inhibited { color: var(--amber); font-size: 0.8125rem; }
      @media (max-width: 759px) {
        :host { padding: 0.5rem 0.6rem; }
        .word { font-size: 1.5rem; }
        .fields .figure { font-size: 0.9375rem; }
      }
    `],Pe=n([u("xp-state")],Pe);var Te=24,gr=60,me=class extends b{constructor(){super(...arguments);this.disabled=!1;this.angle=0;this.grip=null;this.rest=0}turn(e){if(this.disabled)return;this.angle+=e,this.renderRoot.querySelector("#wheel")?.setAttribute("transform",`rotate(${this.angle*360} 60 60)`),this.rest+=e*Te;let r=Math.trunc(this.rest);r!==0&&(this.rest-=r,this.deck.steps(r))}at(e){let r=e.currentTarget.getBoundingClientRect();return Math.atan2(e.clientY-r.top-r.height/2,e.clientX-r.left-r.width/2)/(2*Math.PI)}down(e){e.currentTarget.setPointerCapture(e.pointerId),this.grip=this.at(e)}move(e){if(this.grip===null)return;let r=this.at(e),i=r-this.grip;i-=Math.round(i),this.grip=r,this.turn(i)}wheel(e){e.preventDefault();let r=e.deltaMode===WheelEvent.DOM_DELTA_LINE?20:1;this.turn(e.deltaY*r/gr/Te)}keydown(e){let r={ArrowRight:1,ArrowUp:1,ArrowLeft:-1,ArrowDown:-1}[e.key];r!==void 0&&(e.preventDefault(),e.stopPropagation(),this.turn(r*(e.shiftKey?10:1)/Te))}view(){let e=Array.from({length:Te},(r,i)=>i);return l`<svg viewBox="0 0 120 120" role="slider" tabindex="0" aria-label="Jog wheel, a frame a notch" aria-valuenow=${this.deck.state?.frame??0} aria-valuemin="0"
      aria-valuemax=${Math.max(0,(this.deck.state?.length??1)-1)} aria-disabled=${this.disabled?"true":"false"}
      @pointerdown=${this.down} @pointermove=${this.move} @pointerup=${()=>this.grip=null} @pointercancel=${()=>this.grip=null} @wheel=${this.wheel} @keydown=${this.keydown}>
      <circle class="rim" cx="60" cy="60" r="58.5" />
      <g id="wheel" transform="rotate(0 60 60)">
        ${e.map(r=>this.mark(r))}
        <circle class="disc" cx="60" cy="60" r="46" />
        <circle class="dimple" cx="60" cy="30" r="10.5" />
      </g>
    </svg>`}mark(e){let r=e/Te*2*Math.PI-Math.PI/2,[i,o]=[Math.cos(r),Math.sin(r)];return vr(60+i*50,60+o*50,60+i*55.5,60+o*55.5,e%6===0?"mark big":"mark")}};me.styles=[f,p`
      :host { display: grid; place-items: center; min-height: 0; }
      svg { width: 100%; height: 100%; max-height: 100%; touch-action: none; cursor: grab; display: block; border-radius: 50%; aspect-ratio: 1; }
      svg:active { cursor: grabbing; }
      .rim { fill: var(--panel); stroke: var(--line); stroke-width: 1; }
      .disc { fill: var(--raised); stroke: var(--lifted); stroke-width: 1.5; }
      .dimple { fill: var(--ground); stroke: var(--lifted); stroke-width: 1; }
      .mark { stroke: var(--edge); stroke-width: 1; }
      .mark.big { stroke: var(--text); stroke-width: 1.5; }
    `],n([m({type:Boolean})],me.prototype,"disabled",2),me=n([u("xp-jog")],me);var vr=(s,t,e,r,i)=>L`<line class=${i} x1=${s} y1=${t} x2=${e} y2=${r} />`;var fr={record:L`<circle cx="12" cy="12" r="7"/>`,stop:L`<rect x="5.5" y="5.5" width="13" height="13"/>`,play:L`<path d="M7 4.5v15L20 12z"/>`,reverse:L`<path d="M17 4.5v15L4 12z"/>`,still:L`<path d="M6 5h4.2v14H6zM13.8 5H18v14h-4.2z"/>`,forward:L`<path d="M2.5 5v14l9.5-7zM12 5v14l9.5-7z"/>`,rewind:L`<path d="M21.500 5v14L12 12zM12 5v14l-9.500-7z"/>`,next:L`<path d="M5 5v14l10.500-7zM16 5h3v14h-3z"/>`,prev:L`<path d="M19 5v14L8.500 12zM5 5h3v14H5z"/>`,step:L`<path d="M9 6v12l8-6z"/>`,back:L`<path d="M15 6v12l-8-6z"/>`},Ot=s=>l`<svg viewBox="0 0 24 24" aria-hidden="true">${fr[s]}</svg>`;var br=1e3,Be=class extends Event{constructor(e){super("xp-forms",{bubbles:!0,composed:!0});this.verb=e}},T=class extends A{constructor(){super(...arguments);this.verb="";this.label="";this.icon="";this.hint="";this.lit=!1;this.red=!1;this.pending=!1;this.hold=!1;this.disabled=!1;this.toggle=!1;this.held=0;this.since=0}focus(){this.renderRoot.querySelector("button")?.focus()}press(){this.dispatchEvent(new Event("press",{bubbles:!0,composed:!0}))}begin(){if(this.disabled||this.since)return;if(!this.hold)return this.press();this.since=performance.now();let e=()=>{if(this.since){if(this.held=Math.min(1,(performance.now()-this.since)/br),this.held<1)return void requestAnimationFrame(e);this.since=0,this.held=0,this.press()}};requestAnimationFrame(e)}end(){this.since&&(this.since=0,this.held=0,this.dispatchEvent(new Event("toobrief",{bubbles:!0,composed:!0})))}down(e){e.button===0&&(this.hold&&e.target.setPointerCapture?.(e.pointerId),this.begin())}keydown(e){e.key==="?"&&(e.preventDefault(),e.stopPropagation(),this.dispatchEvent(new Be(this.verb))),!(e.key!=="Enter"&&e.key!==" ")&&(e.preventDefault(),e.stopPropagation(),e.repeat||this.begin())}updated(){this.renderRoot.querySelector("i")?.style.setProperty("transform",`scaleX(${this.held})`)}render(){return l`<button
      type="button"
      ?disabled=${this.disabled}
      aria-pressed=${this.toggle?this.lit?"true":"false":h}
      aria-label=${this.hint||this.label}
      aria-busy=${this.pending?"true":"false"}
      title=${this.hint}
      @pointerdown=${this.down}
      @pointerup=${this.end}
      @pointercancel=${this.end}
      @keydown=${this.keydown}
      @keyup=${e=>(e.key==="Enter"||e.key===" ")&&this.end()}
      @blur=${this.end}
      @click=${e=>e.detail===0&&!e.isTrusted&&this.begin()}
      @contextmenu=${e=>{e.preventDefault(),this.since||this.dispatchEvent(new Be(this.verb))}}
    >
      ${this.icon?Ot(this.icon):h}<span>${this.label}</span>${this.held>0?l`<i></i>`:h}
    </button>`}};T.styles=[f,p`
      :host { display: block; min-width: 0; }
      button { width: 100%; height: 100%; padding: 0 0.125rem; display: grid; place-content: center; justify-items: center; gap: 0.2rem; position: relative; overflow: hidden;
        border-color: transparent; border-top-color: var(--lifted); user-select: none; -webkit-user-select: none; -webkit-touch-callout: none; touch-action: none; }
      svg { width: 1.5rem; height: 1.5rem; fill: currentColor; display: block; }
      span { font-size: 0.75rem; line-height: 1; white-space: nowrap; }
      button:not(:has(svg)) span { font-size: 0.9375rem; font-weight: 700; }
      :host([red]) svg { color: var(--red-text); }
      :host([lit]) button { background: var(--bright); color: var(--on-bright); border-color: var(--bright); }
      :host([lit][red]) button { background: var(--red); color: var(--on-red); border-color: var(--red); }
      :host([lit][red]) svg { color: var(--on-red); }
      :host([pending]) button { border: 2px solid var(--bright); }
      i { position: absolute; left: 0; bottom: 0; height: 0.3rem; width: 100%; background: var(--amber); transform-origin: left; }
    `],n([m()],T.prototype,"verb",2),n([m()],T.prototype,"label",2),n([m()],T.prototype,"icon",2),n([m()],T.prototype,"hint",2),n([m({type:Boolean,reflect:!0})],T.prototype,"lit",2),n([m({type:Boolean,reflect:!0})],T.prototype,"red",2),n([m({type:Boolean,reflect:!0})],T.prototype,"pending",2),n([m({type:Boolean})],T.prototype,"hold",2),n([m({type:Boolean})],T.prototype,"disabled",2),n([m({type:Boolean})],T.prototype,"toggle",2),n([v()],T.prototype,"held",2),T=n([u("xp-key")],T);var Ce=class extends b{get frames(){return Math.max(1,this.deck.state?.length??1)}go(t){let e=t.currentTarget.getBoundingClientRect(),r=Math.min(1,Math.max(0,(t.clientX-e.left)/e.width));this.cue(Math.round(r*(this.frames-1)))}cue(t){let e=this.deck.state;!e?.running||C(e)||this.deck.run("cue",{where:String(Math.min(this.frames-1,Math.max(0,t)))})}keydown(t){let e={PageUp:.1,PageDown:-.1}[t.key];e!==void 0&&(t.preventDefault(),this.cue((this.deck.state?.frame??0)+Math.round(e*this.frames)))}updated(){let t=this.deck.state,e=t&&!C(t)?Math.min(1,Math.max(0,t.frame)/Math.max(1,this.frames-1)):0;this.renderRoot.querySelector(".done")?.style.setProperty("transform",`scaleX(${e})`),this.renderRoot.querySelector(".head")?.style.setProperty("left",`${e*100}%`)}view(){let t=this.deck.state,e=C(t),r=Math.max(0,t?.frame??0);return l`<div
      class="bar" role="slider" tabindex="0" aria-label="Position in the clip" aria-valuemin="0" aria-valuemax=${this.frames-1} aria-valuenow=${e?0:Math.min(r,this.frames-1)}
      aria-valuetext=${e?"recording":`frame ${r} of ${this.frames}`} aria-disabled=${e?"true":"false"} @pointerdown=${this.go} @keydown=${this.keydown}
    >
      <div class="done"></div>
      <div class="head" ?hidden=${e}></div>
      <div class="text"><span>${e?"A take runs":`Frame ${r}`}</span><span>${e?"":Y(this.frames,t?.rate??25)}</span></div>
    </div>`}};Ce.styles=[f,p`
      :host { height: 1.5rem; }
      .bar { position: relative; height: 100%; background: var(--panel); border-radius: var(--round); overflow: hidden; cursor: pointer; touch-action: none; }
      .bar[aria-disabled="true"] { cursor: default; }
      .done { position: absolute; inset: 0; background: var(--lifted); transform-origin: left; }
      .head { position: absolute; top: 0; bottom: 0; width: 0.1875rem; margin-left: -0.09rem; background: var(--bright); }
      .text { position: absolute; inset: 0 0.6rem; display: flex; justify-content: space-between; align-items: center; font-size: 0.75rem; pointer-events: none; color: var(--dim); }
    `],Ce=n([u("xp-position")],Ce);var ot=[0,.1,.25,.5,1,2,4,8,16,32],Z=class extends b{constructor(){super(...arguments);this.disabled=!1;this.pulled=0;this.speed=0}pull(e){if(this.disabled)return;this.pulled=Math.min(1,Math.max(-1,e));let r=Math.sign(this.pulled)*ot[Math.round(Math.abs(this.pulled)*(ot.length-1))];r!==this.speed&&(this.speed=r,this.deck.speed(r))}move(e){let r=e.currentTarget;if(e.type==="pointerdown"&&r.setPointerCapture(e.pointerId),!r.hasPointerCapture(e.pointerId))return;let i=r.getBoundingClientRect();this.pull((e.clientX-i.left)/i.width*2-1)}let(){this.pulled!==0&&(this.pulled=0,this.speed=0,this.deck.speed(0))}keydown(e){let r={ArrowRight:1,ArrowLeft:-1}[e.key];r!==void 0&&(e.preventDefault(),e.stopPropagation(),this.pull(this.pulled+r/(ot.length-1)))}updated(){this.renderRoot.querySelector(".knob")?.style.setProperty("left",`calc(50% + ${this.pulled} * (50% - 1.25rem))`)}view(){return l`<div class="track" role="slider" tabindex="0" aria-label="Shuttle" aria-valuemin="-32" aria-valuemax="32" aria-valuenow=${this.speed}
      aria-valuetext=${this.speed===0?"still":`${this.speed} times`} aria-disabled=${this.disabled?"true":"false"} title="Shuttle: pull and let go; the picture then holds"
      @pointerdown=${this.move} @pointermove=${this.move} @pointerup=${this.let} @pointercancel=${this.let} @keydown=${this.keydown} @keyup=${this.let} @blur=${this.let}>
      <div class="marks" aria-hidden="true"><span>32</span><span>8</span><span>2</span><span>½</span><span>0</span><span>½</span><span>2</span><span>8</span><span>32</span></div>
      <div class="knob"></div>
    </div>`}};Z.styles=[f,p`
      .track { position: relative; height: 100%; min-height: 2.75rem; background: var(--panel); border-radius: var(--round); touch-action: none; cursor: ew-resize; overflow: hidden; }
      .marks { position: absolute; inset: auto 0 0.2rem 0; display: flex; justify-content: space-between; padding: 0 0.5rem; font-size: 0.625rem; color: var(--dim); pointer-events: none; }
      .knob { position: absolute; top: 0.25rem; bottom: 1.1rem; width: 2.25rem; left: 50%; margin-left: -1.125rem; background: var(--lifted); border: 1px solid var(--edge); border-radius: var(--round); pointer-events: none; }
      .knob::after { content: ""; position: absolute; left: 50%; top: 20%; bottom: 20%; border-left: 2px solid var(--bright); margin-left: -1px; }
      .track[aria-disabled="true"] { cursor: default; }
      .now { position: absolute; top: 0.35rem; right: 0.6rem; font-size: 0.8125rem; color: var(--bright); pointer-events: none; }
    `],n([m({type:Boolean})],Z.prototype,"disabled",2),n([v()],Z.prototype,"pulled",2),n([v()],Z.prototype,"speed",2),Z=n([u("xp-shuttle")],Z);var yr=[{verb:"record",label:"Record",icon:"record",wide:!0,lit:s=>s==="recording"},{verb:"stop",label:"Stop",icon:"stop",wide:!0,lit:s=>s==="stopped"},{verb:"play",label:"Reverse",icon:"reverse",values:{speed:-1},lit:(s,t)=>s!=="recording"&&t<0},{verb:"still",label:"Still",icon:"still",lit:(s,t)=>s!=="stopped"&&s!=="recording"&&t===0},{verb:"play",label:"Play",icon:"play",wide:!0,values:{speed:1},lit:(s,t)=>s!=="recording"&&t===1},{verb:"prev",label:"Previous",icon:"prev"},{verb:"next",label:"Next",icon:"next"}],wr=[-10,-1,1,10],ue=class extends b{focusTimecode(){this.where.focus(),this.where.select()}view(){let t=this.deck.state,e=C(t),r=!t?.running||this.deck.stale;return l`
      <xp-position .deck=${this.deck}></xp-position>
      <div class="keys" role="toolbar" aria-label="Transport">${yr.map((i,o)=>this.key(i,e,r,o===4))}</div>
      <div class="second">
        <div class="steps" role="group" aria-label="Step">
          ${wr.map(i=>l`<xp-key verb="step" label=${i>0?`+${i}`:`−${-i}`} hint=${`${Math.abs(i)} frame${Math.abs(i)>1?"s":""} ${i>0?"on":"back"}`}
              ?disabled=${r} @press=${()=>this.deck.steps(i)}></xp-key>`)}
        </div>
        <xp-shuttle .deck=${this.deck} ?disabled=${r}></xp-shuttle>
        <form @submit=${this.cue}>
          <input id="where" aria-label="Timecode or frame to cue to" placeholder="hh:mm:ss:ff" autocomplete="off" spellcheck="false" inputmode="numeric" maxlength="32" />
          <button ?disabled=${r} title=${this.deck.verb("cue")?.help??h}>Cue</button>
        </form>
      </div>
      <xp-jog .deck=${this.deck} ?disabled=${r}></xp-jog>
    `}key(t,e,r,i){let o=this.deck.verb(t.verb);if(this.deck.verbs.length&&!o)return h;let a=this.deck.state,d=!r&&!!a&&!!t.lit?.(a.status,a.speed);return l`<xp-key
      class="${t.wide?"wide":""} ${i?"third":""}"
      verb=${t.verb}
      label=${t.verb==="stop"&&e?"Hold to stop":t.label}
      hint=${`${t.label}: ${o?.help??""}`}
      icon=${t.icon}
      ?red=${t.verb==="record"}
      ?lit=${d}
      ?toggle=${!!t.lit}
      ?pending=${this.deck.pending.has(t.verb)}
      ?hold=${t.verb==="stop"&&e}
      ?disabled=${r}
      @press=${()=>{this.deck.run(t.verb,t.values)}}
      @toobrief=${()=>this.deck.tell({kind:"lost",title:"Still recording",text:"To end the take, hold the key for a second."})}
    ></xp-key>`}cue(t){t.preventDefault();let e=$r(this.where.value);e&&this.deck.run("cue",{where:e}).then(r=>r.done&&this.where.blur())}};ue.styles=[f,p`
      :host { display: grid; grid-template-columns: minmax(0, 1fr) auto; grid-template-rows: auto 1fr 1fr; gap: var(--gap); }
      xp-position { grid-column: 1 / -1; }
      .keys { display: grid; grid-template-columns: 1.5fr 1.5fr 1fr 1fr 1.5fr 1fr 1fr; gap: 0.25rem; min-height: 3.75rem; }
      .second { display: grid; grid-template-columns: auto minmax(8rem, 1fr) auto; gap: 0.75rem; align-items: stretch; min-height: 3.25rem; }
      .steps { display: grid; grid-template-columns: repeat(4, 2.75rem); gap: 0.25rem; }
      xp-jog { grid-column: 2; grid-row: 2 / 4; width: 8.5rem; align-self: stretch; }
      form { display: grid; grid-template-columns: 9.5rem auto; gap: 0.25rem; align-items: stretch; }
      form input { font-size: 1.125rem; font-weight: 700; text-align: center; padding: 0 0.25rem; min-height: 2.75rem; }
      form button { padding: 0 0.7rem; }
      @media (max-width: 759px) {
        :host { grid-template-columns: minmax(0, 1fr); grid-template-rows: none; }
        .keys { grid-template-columns: repeat(10, 1fr); }
        .keys xp-key { min-height: 3.25rem; grid-column: span 2; }
        .keys xp-key.wide { grid-column: span 5; min-height: 4.25rem; }
        .keys xp-key.wide.third { grid-column: span 2; min-height: 3.25rem; }
        :host(:not([more])) .second, :host(:not([more])) xp-jog { display: none; }
        .second { grid-template-columns: minmax(0, 1fr); gap: 0.5rem; }
        .steps { grid-template-columns: repeat(4, 1fr); min-height: 2.75rem; }
        xp-shuttle { min-height: 3.25rem; }
        form { grid-template-columns: minmax(0, 1fr) auto; }
        xp-jog { grid-column: 1; grid-row: auto; width: 11rem; height: 11rem; justify-self: center; }
      }
    `],n([E("#where")],ue.prototype,"where",2),ue=n([u("xp-transport")],ue);function $r(s){let t=s.trim();return t.startsWith("#")?t.slice(1).trim():/^\d{1,8}$/.test(t)?t.padStart(8,"0").replace(/^(..)(..)(..)(..)$/,"$1:$2:$3:$4"):t.replaceAll(".",":")}var R=class extends A{constructor(){super(...arguments);this.deck=new Ie;this.age=Pt();this.kiosk=location.hash.startsWith("#/kiosk");this.delay=null;this.open=!1;this.more=!1;this.end=()=>{};this.moved=()=>{this.kiosk=location.hash.startsWith("#/kiosk")}}connectedCallback(){super.connectedCallback(),this.deck.subscribe(()=>this.requestUpdate()),this.deck.start(),addEventListener("hashchange",this.moved),this.addEventListener("xp-forms",e=>this.help.show(e.verb)),this.addEventListener("xp-mark",()=>this.column.mark(this.timecode.value)),this.end=zt(this.deck,{holdStop:()=>this.stopKey?.begin(),releaseStop:()=>this.stopKey?.end(),focusTimecode:()=>this.transport.focusTimecode(),mark:()=>this.column.mark(this.timecode.value),kiosk:()=>location.hash=this.kiosk?"#/clips":"#/kiosk",help:()=>this.help.show(""),tab:e=>this.column.turn(e)})}disconnectedCallback(){super.disconnectedCallback(),removeEventListener("hashchange",this.moved),this.end()}get stopKey(){return this.transport.renderRoot.querySelector('xp-key[verb="stop"]')}firstUpdated(){this.picture.link.start(),this.picture.addEventListener("xp-frame",e=>this.painted(e))}painted(e){let{frame:r}=e;if(this.deck.alive(),this.timecode.value=r.timecode,this.meter.show(r.meters),this.deck.clockOffset===null||!r.captured||r.isRepeat)return;let i=this.age.add(performance.now()+this.deck.clockOffset-r.captured);i!==null&&(this.delay=i)}updated(){this.toggleAttribute("kiosk",this.kiosk),document.title=this.title1()}title1(){let{state:e,stale:r}=this.deck;return r||!e?"! Recorder":C(e)?`● ${e.clip}`:`Recorder: ${e.status.replaceAll("_"," ")}`}render(){let{deck:e}=this,r=C(e.state)&&!e.stale,i=e.state?.running===!1;return l`
      <div class="time"><xp-timecode ?recording=${r} .age=${e.stale?e.silence:0}></xp-timecode></div>
      <xp-state .deck=${e}></xp-state>
      <main class="view">
        <div class="frame ${r?"recording":""}">
          <xp-picture id="picture" ?stale=${e.stale||i}></xp-picture>
          ${e.stale?l`<div class="banner" role="alert">${e.linked?"No pictures":"No link to the recorder"} for ${(e.silence/1e3).toFixed(1)} s. Nothing here is live.</div>`:i?l`<div class="banner" role="alert">The recorder is not running.</div>`:h}
        </div>
        <xp-meter ?flat=${matchMedia("(max-width: 759px)").matches}></xp-meter>
      </main>
      <xp-transport .deck=${e} ?more=${this.more}></xp-transport>
      <div class="more">
        <button aria-expanded=${this.more?"true":"false"} @click=${()=>this.more=!this.more}>Jog, shuttle, cue</button>
        <button @click=${()=>this.open=!0}>Clips, settings…${e.state?.alarms?l` <b>! ${e.state.alarms}</b>`:h}</button>
      </div>
      <xp-column class=${this.open?"open":""} .deck=${e} @xp-close=${()=>this.open=!1}></xp-column>
      <xp-health .deck=${e} .delay=${this.delay}></xp-health>
      <xp-help .deck=${e}></xp-help>
      ${e.notice?l`<div class="notice" role="alert"><span><b>${e.notice.title}</b>. ${e.notice.text}</span><button class="small" @click=${()=>e.tell(null)}>Close</button></div>`:h}
    `}};R.styles=[f,p`
      :host { box-sizing: border-box; display: grid; height: 100vh; height: 100dvh; padding: var(--gap); gap: var(--gap); overflow: hidden;
        grid-template-columns: minmax(0, 1fr) 31rem; grid-template-rows: auto minmax(0, 1fr) auto 3.25rem; grid-template-areas: "time state" "view column" "keys column" "health health"; }
      .time { grid-area: time; display: flex; align-items: center; justify-content: center; background: var(--panel); border-radius: var(--round); min-width: 0; overflow: hidden; padding: 0.3rem 0; }
      xp-timecode { font-size: min(9.7vw, 15.52rem); }
      xp-state { grid-area: state; }
      .view { grid-area: view; display: grid; grid-template-columns: auto minmax(0, 1fr); gap: var(--gap); min-height: 0; container-type: size; }
      .frame { position: relative; border: 0.25rem solid var(--line); border-radius: var(--round); background: #000; box-sizing: border-box; width: min(100cqw - 8rem, (100cqh - 0.5rem) * 16 / 9 + 0.5rem); max-height: 100%; aspect-ratio: auto; height: min(100cqh, (100cqw - 8.5rem) * 9 / 16 + 0.5rem); align-self: center; }
      .frame.recording { border-color: var(--red); }
      xp-picture { position: absolute; inset: 0; }
      .banner { position: absolute; inset: auto 0 0 0; background: var(--amber); color: var(--on-amber); font-weight: 700; padding: 0.5rem 0.75rem; text-align: center; }
      xp-meter { background: var(--panel); border-radius: var(--round); border: 0.4rem solid var(--panel); }
      xp-transport { grid-area: keys; }
      xp-column { grid-area: column; min-height: 0; }
      xp-health { grid-area: health; }
      .notice { position: fixed; left: 50%; bottom: 4.5rem; transform: translateX(-50%); background: var(--bright); color: var(--on-bright); border-radius: var(--round); padding: 0.6rem 0.75rem; display: flex; gap: 1rem; align-items: center; max-width: min(46rem, calc(100vw - 2rem)); z-index: 2; box-shadow: 0 0.5rem 2rem rgb(0 0 0 / 0.6); }
      .notice button { background: transparent; color: inherit; border-color: currentColor; }
      .more { display: none; }
      xp-help { position: absolute; }

      :host([kiosk]) { grid-template-columns: minmax(0, 1fr) minmax(24rem, 32vw); grid-template-rows: auto minmax(0, 1fr) 3.25rem; grid-template-areas: "time state" "view view" "health health"; }
      :host([kiosk]) xp-transport, :host([kiosk]) xp-column { display: none; }
      :host([kiosk]) xp-timecode { font-size: 10vw; }

      @media (max-width: 759px) {
        :host { height: auto; min-height: 100dvh; overflow: visible; grid-template-columns: minmax(0, 1fr); grid-template-rows: none; grid-template-areas: "state" "time" "view" "keys" "more" "column" "health"; padding: 0.375rem; gap: 0.375rem; align-content: start; }
        xp-timecode { font-size: min(16.4vw, 7rem); }
        .view { grid-template-columns: minmax(0, 1fr); container-type: normal; }
        .frame { width: auto; height: auto; max-height: none; aspect-ratio: 16 / 9; }
        xp-meter { height: 5.25rem; }
        .more { grid-area: more; display: grid; grid-template-columns: 1fr 1fr; gap: 0.25rem; }
        .more button { min-height: 3rem; }
        xp-column { display: none; }
        xp-column.open { display: block; position: fixed; inset: 0; z-index: 3; }
        :host([kiosk]) { grid-template-columns: minmax(0, 1fr); grid-template-areas: "state" "time" "view" "health"; }
      }
      @media (max-width: 359px) { .time { overflow-x: auto; } }
    `],n([v()],R.prototype,"kiosk",2),n([v()],R.prototype,"delay",2),n([v()],R.prototype,"open",2),n([v()],R.prototype,"more",2),n([E("xp-timecode")],R.prototype,"timecode",2),n([E("xp-meter")],R.prototype,"meter",2),n([E("xp-picture")],R.prototype,"picture",2),n([E("xp-column")],R.prototype,"column",2),n([E("xp-help")],R.prototype,"help",2),n([E("xp-transport")],R.prototype,"transport",2),R=n([u("xp-panel")],R);
